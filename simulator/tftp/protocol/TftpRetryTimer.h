#pragma once

#include <chrono>

#include "TftpSettings.h"

namespace simulator {

/// When a transfer repeats its last packets, and when it gives up: the time-out follows the
/// measured round trips (RFC 6298) and doubles with every repetition; a negotiated one stays.
class TftpRetryTimer {
  public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    explicit TftpRetryTimer(const TftpSettings& settings);

    /// Uses a negotiated time-out (RFC 2349) from now on.
    void Fix(std::chrono::seconds timeout);
    /// A packet that wants an answer was sent for the first time.
    void Sent(Time now);
    /// The answer came.
    void Answered(Time now);
    /// The time-out passed; false when it was the last that is allowed without an answer.
    [[nodiscard]] bool Repeat(Time now);
    [[nodiscard]] Time Deadline() const { return mDeadline; }

  private:
    using Duration = std::chrono::microseconds;

    [[nodiscard]] Duration Timeout() const;

    TftpSettings mSettings;
    Duration mFixed{0};
    Duration mSmoothed{0};
    Duration mVariation{0};
    bool mMeasured = false;
    bool mMeasuring = false;
    unsigned int mRetries = 0;
    Time mSentAt;
    Time mProgressAt;
    Time mDeadline = Time::max();
};

}  // namespace simulator
