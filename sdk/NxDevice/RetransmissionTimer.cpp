#include "RetransmissionTimer.h"

#include <algorithm>

RetransmissionTimer::Duration RetransmissionTimer::Limit() const {
    return std::max(kLongest, 2 * mSmoothed);
}

RetransmissionTimer::Duration RetransmissionTimer::Next(Duration previous) const {
    return std::min(previous * 2, Limit());
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
    mTimeout = std::clamp(mSmoothed + 4 * mVariation, kShortest, Limit());
}

// A device that has become slow is never answering the first sending in time: the longer wait is
// kept until it does (Karn's algorithm). Bounded, since a lost datagram looks the same.
void RetransmissionTimer::LearnFromResend(Duration last) {
    mTimeout = std::min(last, Limit());
}
