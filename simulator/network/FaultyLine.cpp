#include "FaultyLine.h"

#include <algorithm>
#include <utility>

namespace simulator {

FaultyLine::FaultyLine(const DatagramFaults& faults, std::uint32_t seed)
    : mFaults(faults), mChance(seed) {}

std::vector<Datagram> FaultyLine::Pass(Datagram datagram, Clock::time_point now) {
    // Always all the draws, so that one decision does not shift the others.
    const bool lost = mChance.Happens(mFaults.lossPercent);
    const bool duplicated = mChance.Happens(mFaults.duplicatePercent);
    const bool reordered = mChance.Happens(mFaults.reorderPercent);
    const bool delayed = mChance.Happens(mFaults.delayPercent);
    const bool copiedLater = mChance.Happens(mFaults.lateCopyPercent);
    if (lost) {
        return {};
    }
    const auto overtaken =
        std::find_if(mHeld.begin(), mHeld.end(), [](const Held& held) { return held.untilNext; });
    const bool overtakes = overtaken != mHeld.end();
    std::vector<Datagram> out;
    if (duplicated) {
        out.push_back(datagram);
    }
    if (!delayed && (!reordered || overtakes)) {
        out.push_back(datagram);
        if (overtakes) {
            out.push_back(std::move(overtaken->datagram));
            mHeld.erase(overtaken);
        }
    } else {
        mHeld.push_back({datagram, now + (delayed ? mFaults.delay : kReorderLimit), !delayed});
    }
    if (copiedLater) {
        mHeld.push_back({std::move(datagram), now + mFaults.delay, false});
    }
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
