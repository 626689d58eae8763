#pragma once

#include <chrono>

/// When to send again: the adaptive time-out of RFC 6298, in the ranges that suit a local network.
class TftpTimer {
  public:
    using Duration = std::chrono::steady_clock::duration;

    /// Before the first sample: a server may have to fork, or to open a slow file.
    static constexpr Duration kFirstTimeout = std::chrono::milliseconds(1000);
    static constexpr Duration kLongestTimeout = std::chrono::milliseconds(2000);
    /// A server is given up when it has not answered a request for that long, ...
    static constexpr Duration kAnswerLimit = std::chrono::seconds(7);
    /// ... or that long when it had fallen silent before: each record that follows a failed
    /// transfer would otherwise make the user wait once more.
    static constexpr Duration kAnswerLimitOfSilentServer = std::chrono::seconds(1);
    /// A transfer is given up when nothing of use was heard for that long.
    static constexpr Duration kSilenceLimit = std::chrono::seconds(10);
    /// The same when all but the last block of a payload was acknowledged.
    static constexpr Duration kSilenceLimitAtEnd = std::chrono::seconds(60);

    explicit TftpTimer(Duration shortestTimeout) : mShortest(shortestTimeout) {}

    /// Learns how long an answer took. Not for packets that were sent twice: which of the two was
    /// answered is not known (Karn's algorithm).
    void AddSample(Duration roundTrip);
    /// After a time-out: the next one is twice as long.
    void BackOff();
    void EndBackOff() { mRetry = 0; }
    /// Number of time-outs in a row.
    [[nodiscard]] unsigned int Retry() const { return mRetry; }

    [[nodiscard]] Duration Timeout() const;
    /// A short wait for something that should be under way already: about one round trip.
    [[nodiscard]] Duration Pause() const;

  private:
    Duration mShortest;
    Duration mSmoothed{0};  ///< 0: no sample yet
    Duration mVariation{0};
    unsigned int mRetry = 0;
};
