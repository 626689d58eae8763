#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

/// What other threads may know of a transfer while it runs.
class TftpMonitor {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// A transfer begins. @param total bytes in all; 0: not known yet
    void Start(std::uint64_t total);
    void SetTotal(std::uint64_t total) { mTotal = total; }
    /// Progress was made; `done` bytes have been transferred.
    void Move(std::uint64_t done);
    /// Nothing was heard.
    /// @param what "192.168.1.20 to acknowledge block 7"
    /// @param since when the wait began
    void Stall(const std::string& what, TimePoint since, unsigned int retry);
    /// The transfer is over; the numbers stay.
    void End();

    [[nodiscard]] std::uint64_t Done() const { return mDone; }
    [[nodiscard]] std::uint64_t Total() const { return mTotal; }
    /// Empty when nothing is being waited for, or for less than a second.
    [[nodiscard]] std::string Warning(TimePoint now) const;

  private:
    std::atomic<std::uint64_t> mDone{0};
    std::atomic<std::uint64_t> mTotal{0};
    std::atomic<bool> mStalled{false};

    mutable std::mutex mMutex;  ///< guards what follows
    std::string mWhat;
    TimePoint mSince;
    unsigned int mRetry = 0;
};
