#include "TftpMonitor.h"

void TftpMonitor::Start(std::uint64_t total) {
    mStalled = false;
    mDone = 0;
    mTotal = total;
}

void TftpMonitor::Move(std::uint64_t done) {
    mDone.store(done, std::memory_order_relaxed);
    if (mStalled.load(std::memory_order_relaxed)) {
        mStalled = false;
    }
}

void TftpMonitor::Stall(const std::string& what, TimePoint since, unsigned int retry) {
    const std::lock_guard lock(mMutex);
    mWhat = what;
    mSince = since;
    mRetry = retry;
    mStalled = true;
}

void TftpMonitor::End() {
    mStalled = false;
}

std::string TftpMonitor::Warning(TimePoint now) const {
    if (!mStalled) {
        return {};
    }
    const std::lock_guard lock(mMutex);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - mSince).count();
    // Shorter waits are everyday matters: a device writes to its flash now and then.
    if (seconds < 1) {
        return {};
    }
    return "Waiting " + std::to_string(seconds) + " s for " + mWhat + " (retry " +
           std::to_string(mRetry) + ")";
}
