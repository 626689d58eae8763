#include "FaultyLine.h"

#include <algorithm>

#include "Percentage.h"

namespace simulator {

FaultyLine::FaultyLine(const DatagramFaults& faults, std::uint32_t seed)
    : mFaults(faults), mChance(seed) {}

std::vector<Datagram> FaultyLine::Pass(Datagram datagram, Clock::time_point now) {
    // Always four draws, so that one decision does not shift the others.
    const bool lost = Happens(mFaults.lossPercent, mChance);
    const bool duplicated = Happens(mFaults.duplicatePercent, mChance);
    const bool reordered = Happens(mFaults.reorderPercent, mChance);
    const bool delayed = Happens(mFaults.delayPercent, mChance);
    if (lost) {
        return {};
    }
    std::vector<Datagram> out;
    if (delayed || reordered) {
        mHeld.push_back({datagram, now + (delayed ? mFaults.delay : kReorderLimit), !delayed});
        if (duplicated) {
            out.push_back(std::move(datagram));
        }
        return out;
    }
    out.assign(duplicated ? 2 : 1, datagram);
    for (const Held& held : mHeld) {
        if (held.untilNext) {
            out.push_back(held.datagram);
        }
    }
    std::erase_if(mHeld, [](const Held& held) { return held.untilNext; });
    return out;
}

std::vector<Datagram> FaultyLine::TakeDue(Clock::time_point now) {
    std::vector<Datagram> out;
    for (const Held& held : mHeld) {
        if (held.due <= now) {
            out.push_back(held.datagram);
        }
    }
    std::erase_if(mHeld, [now](const Held& held) { return held.due <= now; });
    return out;
}

std::optional<FaultyLine::Clock::time_point> FaultyLine::NextDue() const {
    const auto first = std::min_element(mHeld.begin(), mHeld.end(),
                                        [](const Held& a, const Held& b) { return a.due < b.due; });
    return first == mHeld.end() ? std::nullopt : std::optional(first->due);
}

}  // namespace simulator
