#include "ReplyTimes.h"

namespace {

using std::chrono::microseconds;

// An answer from the same wire often comes sooner than a sleeping thread is woken, and lock-step
// protocols wait for thousands of answers. Whoever else wants this CPU gets it meanwhile.
constexpr microseconds kAtOnce{60};
// Most cameras take longer than that for each command; polling for them would only cost CPU time.
// After this many late answers in a row, only every kTryAgainEvery-th wait begins with polling, to
// notice a sender that has become fast.
constexpr unsigned int kLateInARow = 4;
constexpr unsigned int kTryAgainEvery = 32;
// A little longer than the polling: a sleeping thread takes its time to wake up, too.
constexpr microseconds kLate{80};
// In a longer turn another program ran on this CPU, maybe the one that is to answer. A thread that
// yields is soon due again, and interrupts the other one after each datagram; one that sleeps is
// woken when all of them have been worked through.
// With a single datagram there is nothing to interrupt.
constexpr microseconds kOthersTurn{4};
constexpr unsigned int kSharedInARow = 2;
// The system wakes a thread up to 50 microseconds later than asked for, and waking takes 20 to 80.
constexpr microseconds kLead{100};
// Replies that are later than this come at no certain time.
constexpr microseconds kJitter{50};
// Sooner, polling would take most of the time.
constexpr microseconds kShortestSleep{200};
// A device that replies earlier than before may do so again; one that replies later may have been
// held up once.
constexpr int kSlowness = 8;

}  // namespace

ReplyTimes::Span ReplyTimes::AtOnce() const {
    const bool isWorthIt = mLateInARow < kLateInARow || mLateInARow % kTryAgainEvery == 0;
    return isWorthIt && !IsCpuShared() ? Span{.until = kAtOnce} : Span();
}

ReplyTimes::Span ReplyTimes::WhenDue() const {
    return mEarliest >= kShortestSleep + kLead && !IsCpuShared()
               ? Span{mEarliest - kLead, mEarliest + kJitter}
               : Span();
}

void ReplyTimes::Learn(Duration waited) {
    ++mWaits;
    mLateInARow = waited < kLate ? 0 : mLateInARow + 1;
    const bool isEarlier = waited < mEarliest || mEarliest.count() == 0;
    mEarliest = isEarlier ? waited : mEarliest + (waited - mEarliest) / kSlowness;
}

void ReplyTimes::LearnFromPolling(Duration longestTurn, unsigned int datagrams) {
    if (longestTurn < kOthersTurn) {
        mSharedInARow = 0;
    } else if (datagrams > 1) {
        ++mSharedInARow;
    }
}

bool ReplyTimes::IsCpuShared() const {
    return mSharedInARow >= kSharedInARow && mWaits % kTryAgainEvery != 0;
}
