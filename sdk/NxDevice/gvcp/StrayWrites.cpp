#include "StrayWrites.h"

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds kShortestPatience{20};
constexpr std::chrono::milliseconds kLongestPatience{1000};
constexpr std::chrono::milliseconds kLongestExecution{10000};

bool Overlaps(const StrayWrites::Write& one, const StrayWrites::Write& other) {
    return one.address < other.address + other.size && other.address < one.address + one.size;
}

}  // namespace

void StrayWrites::Add(const Write& write, int copies, Time firstSent, Time lastSent,
                      Time answered) {
    if (copies == 0) {
        return;
    }
    // From the answer on: before it, the device may not have looked at what had arrived.
    Stray stray{.write = write,
                .firstSent = firstSent,
                .answered = answered,
                .end = answered + mPatience,
                .took = std::min<Duration>(answered - firstSent, kLongestExecution),
                .copies = copies};
    if (stray.took > kSlow && answered - lastSent > kShortestPatience) {
        stray.end = std::max(stray.end, answered + stray.took * 3 / 2);
    }
    mStrays.push_back(stray);
}

std::optional<StrayWrites::Duration> StrayWrites::NoteLateAck(std::uint16_t id, Time now) {
    const auto found = std::find_if(mStrays.begin(), mStrays.end(),
                                    [id](const Stray& stray) { return stray.write.id == id; });
    if (found == mStrays.end()) {
        return std::nullopt;
    }
    // This is how late things may be in this network.
    mPatience = std::clamp<Duration>((now - found->firstSent) * 3 / 2, mPatience, kLongestPatience);
    // Not taken for the end of it: acknowledges are repeated on their way, too.
    for (Stray& stray : mStrays) {
        stray.end = std::max(stray.end, stray.answered + mPatience);
    }
    // The next copy's turn.
    found->copies = std::max(found->copies - 1, 0);
    if (found->copies > 0 && found->took > kSlow) {
        found->end = std::max(found->end, now + found->took * 3 / 2);
    }
    return found->took;
}

StrayWrites::Time StrayWrites::SafeTime(const Write& next, Time now) {
    Forget(now);
    Time safe = now;
    for (const Stray& stray : mStrays) {
        if (stray.write.size > 0 &&
            (stray.write.mayStartOperation || Overlaps(stray.write, next))) {
            safe = std::max(safe, stray.end);
        }
    }
    return safe;
}

// Copies that never come were lost: the more of them, the less lateness is to be expected.
void StrayWrites::Forget(Time now) {
    std::erase_if(mStrays, [this, now](const Stray& stray) {
        if (stray.end > now) {
            return false;
        }
        if (stray.copies > 0) {
            mPatience = std::max<Duration>(mPatience * 7 / 8, kShortestPatience);
        }
        return true;
    });
}
