#include "TftpRetryTimer.h"

#include <algorithm>

namespace simulator {

TftpRetryTimer::TftpRetryTimer(const TftpSettings& settings) : mSettings(settings) {}

void TftpRetryTimer::Fix(std::chrono::seconds timeout) {
    mFixed = timeout;
}

void TftpRetryTimer::Sent(Time now) {
    mSentAt = now;
    mProgressAt = now;
    mMeasuring = true;
    mDeadline = now + Timeout();
}

void TftpRetryTimer::Answered(Time now) {
    // The answer to a repeated packet may belong to either copy and measures nothing.
    if (mMeasuring && mRetries == 0) {
        const auto trip = std::chrono::duration_cast<Duration>(now - mSentAt);
        const Duration off = mSmoothed > trip ? mSmoothed - trip : trip - mSmoothed;
        mVariation = mMeasured ? (mVariation * 3 + off) / 4 : trip / 2;
        mSmoothed = mMeasured ? (mSmoothed * 7 + trip) / 8 : trip;
        mMeasured = true;
    }
    mMeasuring = false;
    mProgressAt = now;
    mRetries = 0;
    mDeadline = now + Timeout();
}

bool TftpRetryTimer::Repeat(Time now) {
    if (mRetries == mSettings.maxRetries || now >= mProgressAt + mSettings.maxSilence) {
        return false;
    }
    ++mRetries;
    mDeadline = std::min<Time>(now + Timeout(), mProgressAt + mSettings.maxSilence);
    return true;
}

TftpRetryTimer::Duration TftpRetryTimer::Timeout() const {
    if (mFixed.count() > 0) {
        return std::min<Duration>(mFixed, mSettings.maxSilence);
    }
    Duration timeout = mSettings.initialTimeout;
    if (mMeasured) {
        timeout = std::max<Duration>(mSmoothed + mVariation * 4, mSettings.minTimeout);
    }
    for (unsigned int retry = 0; retry < mRetries && timeout < mSettings.maxTimeout; ++retry) {
        timeout *= 2;
    }
    return std::min<Duration>(timeout, mSettings.maxTimeout);
}

}  // namespace simulator
