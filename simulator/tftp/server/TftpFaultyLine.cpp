#include "TftpFaultyLine.h"

#include <algorithm>
#include <utility>

namespace simulator {

TftpFaultyLine::TftpFaultyLine(const TftpFaults& faults, std::uint64_t line)
    : mFaults(faults), mRandom(faults.seed * 0x9E3779B97F4A7C15U + line) {}

void TftpFaultyLine::Put(Bytes datagram, Time now) {
    // All are drawn every time, so that each datagram takes the same share of the random numbers.
    const bool lost = Happens(mFaults.lossPercent);
    const bool doubled = Happens(mFaults.duplicatePercent);
    const bool swapped = Happens(mFaults.reorderPercent);
    const bool copiedLater = Happens(mFaults.lateCopyPercent);
    if (lost) {
        return;
    }
    if (copiedLater) {
        mQueue.push_back({now + mFaults.delay, datagram});
    }
    if (swapped && !mHeldBack) {
        mHeldBack = Entry{now + mFaults.delay, std::move(datagram)};
        return;
    }
    if (doubled) {
        mQueue.push_back({now, datagram});
    }
    mQueue.push_back({now, std::move(datagram)});
    if (mHeldBack) {
        mQueue.push_back({now, std::exchange(mHeldBack, std::nullopt)->datagram});
    }
}

std::vector<TftpFaultyLine::Bytes> TftpFaultyLine::Take(Time now) {
    if (mHeldBack && mHeldBack->at <= now) {
        mQueue.push_back(*std::exchange(mHeldBack, std::nullopt));
    }
    std::vector<Bytes> due;
    const auto later = std::stable_partition(mQueue.begin(), mQueue.end(),
                                             [now](const Entry& entry) { return entry.at <= now; });
    for (auto entry = mQueue.begin(); entry != later; ++entry) {
        due.push_back(std::move(entry->datagram));
    }
    mQueue.erase(mQueue.begin(), later);
    return due;
}

TftpFaultyLine::Time TftpFaultyLine::NextAt() const {
    Time next = mHeldBack ? mHeldBack->at : Time::max();
    for (const Entry& entry : mQueue) {
        next = std::min(next, entry.at);
    }
    return next;
}

bool TftpFaultyLine::Happens(double percent) {
    return std::uniform_real_distribution<double>(0, 100)(mRandom) < percent;
}

}  // namespace simulator
