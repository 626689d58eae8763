#pragma once

#include <chrono>

namespace simulator {

/// What happens to datagrams in one direction: percentages, 0 to 100, each drawn for itself.
struct DatagramFaults {
    double lossPercent = 0;
    double duplicatePercent = 0;
    /// Changes places with the next datagram (or goes after 50 ms, when none comes).
    double reorderPercent = 0;
    double delayPercent = 0;
    std::chrono::milliseconds delay{100};  ///< of those drawn for delayPercent, lateCopyPercent
    double lateCopyPercent = 0;            ///< a copy follows

    bool operator==(const DatagramFaults&) const = default;
    /// Whether the percentages are some and the delay is none into the past.
    [[nodiscard]] bool AreUsable() const {
        for (const double percent :
             {lossPercent, duplicatePercent, reorderPercent, delayPercent, lateCopyPercent}) {
            if (!(percent >= 0 && percent <= 100)) {
                return false;
            }
        }
        return delay.count() >= 0;
    }
};

}  // namespace simulator
