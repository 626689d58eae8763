#include "TftpTimer.h"

#include <algorithm>

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// Against time-outs that come too early because all answers so far took equally long.
constexpr TftpTimer::Duration kGranularity = milliseconds(10);
constexpr TftpTimer::Duration kLongestBase = milliseconds(4000);

}  // namespace

void TftpTimer::AddSample(Duration roundTrip) {
    roundTrip = std::max(roundTrip, Duration(1));
    if (mSmoothed == Duration(0)) {
        mSmoothed = roundTrip;
        mVariation = roundTrip / 2;
        return;
    }
    const Duration difference =
        roundTrip > mSmoothed ? roundTrip - mSmoothed : mSmoothed - roundTrip;
    mVariation += (difference - mVariation) / 4;
    mSmoothed += (roundTrip - mSmoothed) / 8;
}

void TftpTimer::BackOff() {
    ++mRetry;
}

TftpTimer::Duration TftpTimer::Timeout() const {
    Duration base = kFirstTimeout;
    if (mSmoothed != Duration(0)) {
        base =
            std::clamp(mSmoothed + std::max(4 * mVariation, kGranularity), mShortest, kLongestBase);
    }
    const Duration longest = std::max(base, kLongestTimeout);
    return mRetry < 16 ? std::min(base * (1L << mRetry), longest) : longest;
}

TftpTimer::Duration TftpTimer::Pause() const {
    if (mSmoothed == Duration(0)) {
        return milliseconds(1);
    }
    return std::clamp<Duration>(mSmoothed, microseconds(20), milliseconds(10));
}
