#include "RetransmissionTimer.h"

#include <algorithm>

RetransmissionTimer::Duration RetransmissionTimer::Limit() const {
    return std::max({kLongest, 2 * mSmoothed, mTimeout});
}

// One loss is likelier than a network that has become slower, so the first resend is not delayed.
RetransmissionTimer::Duration RetransmissionTimer::Wait(int sending) const {
    const int doublings = std::clamp(sending - 2, 0, 16);
    return std::min(mTimeout * (1 << doublings), Limit());
}

void RetransmissionTimer::Learn(Duration answerTime) {
    if (mHasSample) {
        mVariation = (3 * mVariation + std::chrono::abs(mSmoothed - answerTime)) / 4;
        mSmoothed = (7 * mSmoothed + answerTime) / 8;
    } else {
        mHasSample = true;
        mSmoothed = answerTime;
        mVariation = answerTime / 2;
    }
    mTimeout = std::clamp(mSmoothed + 4 * mVariation, mShortest, std::max(kLongest, 2 * mSmoothed));
}

// Until an answer comes in time and is learned from: a resent command's cannot be, since it may be
// the answer to either sending (Karn's algorithm).
void RetransmissionTimer::WasTooShort() {
    mTimeout = std::max(mTimeout, std::min(mTimeout * 2, kLongestAfterNeedless));
}
