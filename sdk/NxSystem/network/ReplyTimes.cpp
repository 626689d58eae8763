#include "ReplyTimes.h"

namespace {

using std::chrono::microseconds;

// An answer from the same wire often comes sooner than a sleeping thread is woken, and lock-step
// protocols wait for thousands of answers. Whoever else wants this CPU gets it meanwhile.
constexpr microseconds kAtOnce{60};
// Most cameras take longer than that for each command; polling for them would only cost CPU time.
constexpr unsigned int kLateInARow = 4;
// A little longer than the polling: a sleeping thread takes its time to wake up, too.
constexpr microseconds kLate{80};
// In a longer turn something else ran on this CPU, maybe the program that is to answer. A thread
// that yields is soon due again, and interrupts that program after each datagram; one that sleeps
// is woken when it has worked through all of them. With a single datagram there is nothing to
// interrupt.
constexpr microseconds kOthersTurn{4};
// A program that does not wait for us took a whole turn: whoever polls gets the CPU back after it,
// whoever sleeps gets it as soon as the reply is there.
constexpr microseconds kLongTurn{200};
constexpr unsigned int kSharedInARow = 2;
// So often a wait polls all the same, to notice a sender that has become fast, and a CPU that has
// become free: asking for the second may take a whole turn, some milliseconds.
constexpr unsigned int kTryLateEvery = 32;
constexpr unsigned int kTrySharedEvery = 512;
// The system wakes a thread up to 50 microseconds later than asked for, and waking itself usually
// takes 20 to 50.
constexpr microseconds kLead{100};
// Later than this, replies are too irregular to poll for.
constexpr microseconds kJitter{50};
// With a shorter one, polling would take a large part of the time.
constexpr microseconds kShortestSleep{200};
// A device that replies earlier than before may do so again; one that replies later may have been
// held up once.
constexpr int kSlowness = 8;

}  // namespace

ReplyTimes::Span ReplyTimes::AtOnce() const {
    const bool isWorthIt = mLateInARow < kLateInARow || mWaits % kTryLateEvery == 0;
    return isWorthIt && MayPoll() ? Span{.until = kAtOnce} : Span();
}

ReplyTimes::Span ReplyTimes::WhenDue() const {
    const bool isWorthIt = mEarliest >= kShortestSleep + kLead;
    return isWorthIt && MayPoll() ? Span{mEarliest - kLead, mEarliest + kJitter} : Span();
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
    } else if (datagrams > 1 || longestTurn >= kLongTurn) {
        ++mSharedInARow;
    }
}

bool ReplyTimes::MayPoll() const {
    return mSharedInARow < kSharedInARow || mWaits % kTrySharedEvery == 0;
}
