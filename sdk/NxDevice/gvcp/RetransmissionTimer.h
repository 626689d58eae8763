#pragma once

#include <chrono>

/// How long to wait for an answer before a command is sent again: learned from how long answers
/// take, growing from resend to resend (RFC 6298, with the bounds of a local network).
class RetransmissionTimer {
  public:
    using Duration = std::chrono::microseconds;

    static constexpr Duration kInitial{50000};
    static constexpr Duration kShortest{4000};
    /// Resends come at most this far apart, unless the device always takes longer.
    static constexpr Duration kLongest{300000};
    /// How far needless resends can put the next one off.
    static constexpr Duration kLongestAfterNeedless{1000000};

    /// @param shortest no resend comes sooner than that
    explicit RetransmissionTimer(Duration shortest = kShortest) : mShortest(shortest) {}

    /// The wait after a command was sent for the n-th time; the second is as long as the first.
    /// @param sending 1 or more
    [[nodiscard]] Duration Wait(int sending) const;
    /// A command was answered without having been sent again.
    void Learn(Duration answerTime);
    /// A command was sent again although its answer was on the way.
    void WasTooShort();

  private:
    [[nodiscard]] Duration Limit() const;

    Duration mShortest;
    bool mHasSample = false;
    Duration mSmoothed{0};
    Duration mVariation{0};
    Duration mTimeout = kInitial;
};
