#pragma once

#include <chrono>

/// How long to wait for an answer before a command is sent again: learned from how long answers
/// take, doubled with every resend (RFC 6298, with the bounds of a local network).
class RetransmissionTimer {
  public:
    using Duration = std::chrono::microseconds;

    static constexpr Duration kShortest{10000};
    /// Resends come at most this far apart, unless the device always takes longer.
    static constexpr Duration kLongest{300000};

    /// The wait after a command's first sending.
    [[nodiscard]] Duration First() const { return mTimeout; }
    /// The wait after the next one.
    [[nodiscard]] Duration Next(Duration previous) const;
    /// A command was answered without having been sent again.
    void Learn(Duration answerTime);
    /// A command was answered, but it cannot be told which of its sendings.
    /// @param last the wait that was running when the answer came
    void LearnFromResend(Duration last);

  private:
    [[nodiscard]] Duration Limit() const;

    bool mHasSample = false;
    Duration mSmoothed{0};
    Duration mVariation{0};
    Duration mTimeout{50000};
};
