#include "LateCopies.h"

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds kLeastMaxAge{20};
constexpr std::chrono::milliseconds kMostMaxAge{1000};
constexpr std::chrono::milliseconds kLongestExecution{10000};

bool Overlaps(const LateCopies::Write& one, const LateCopies::Write& other) {
    return one.address < other.address + other.size && other.address < one.address + one.size;
}

}  // namespace

void LateCopies::Add(const Write& write, int copies, Time firstSent, Time lastSent, Time answered) {
    if (copies == 0) {
        return;
    }
    Forget(answered);
    const Duration took = std::min<Duration>(answered - firstSent, kLongestExecution);
    const bool isSlow = took > kSlow;
    // From the answer on: before it, the device may not have looked at what had arrived.
    Duration wait = mMaxAge;
    if (isSlow && answered - lastSent > kLeastMaxAge) {
        wait = std::max(wait, took * 3 / 2);
    }
    const Duration forAll = isSlow ? copies * took * 3 / 2 : Duration::zero();
    mResent.push_back({.write = write,
                       .firstSent = firstSent,
                       .answered = answered,
                       .end = answered + wait,
                       .remembered = answered + std::max<Duration>({wait, forAll, kMostMaxAge}),
                       .took = took,
                       .copies = copies});
}

std::optional<LateCopies::Duration> LateCopies::NoteLateAck(std::uint16_t id, Time now) {
    // The newest of that id, which may have gone round.
    const auto found = std::find_if(mResent.rbegin(), mResent.rend(),
                                    [id](const Resent& resent) { return resent.write.id == id; });
    if (found == mResent.rend()) {
        return std::nullopt;
    }
    // This is how late things may be in this network.
    mMaxAge = std::clamp<Duration>((now - found->firstSent) * 3 / 2, mMaxAge, kMostMaxAge);
    // Not taken for the end of it: the network duplicates acks, too.
    for (Resent& resent : mResent) {
        resent.end = std::max(resent.end, resent.answered + mMaxAge);
    }
    // The next copy's turn.
    found->copies = std::max(found->copies - 1, 0);
    if (found->copies > 0 && found->took > kSlow) {
        found->end = std::max(found->end, now + found->took * 3 / 2);
    }
    return found->took;
}

LateCopies::Time LateCopies::SafeTime(const Write& next, Time now) {
    Forget(now);
    Time safe = now;
    for (const Resent& resent : mResent) {
        if (resent.write.size > 0 &&
            (resent.write.mayStartOperation || Overlaps(resent.write, next))) {
            safe = std::max(safe, resent.end);
        }
    }
    return safe;
}

// Copies that never come were lost: the more of them, the less lateness is to be expected.
void LateCopies::Forget(Time now) {
    std::erase_if(mResent, [this, now](const Resent& resent) {
        if (std::max(resent.end, resent.remembered) > now) {
            return false;
        }
        if (resent.copies > 0) {
            mMaxAge = std::max<Duration>(mMaxAge * 7 / 8, kLeastMaxAge);
        }
        return true;
    });
}
