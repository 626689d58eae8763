#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

/// How a simulated USB3 Vision device differs from others of its kind, and what goes wrong with it.
/// The byte-triggered faults of FaultOptions hold for it as well.
struct U3vOptions {
    std::uint32_t maxCommand = 65548;  ///< bytes, header included (SBRM +0x14)
    std::uint32_t maxAck = 65548;      ///< bytes, header included (SBRM +0x18)
    /// The longest time that the device says it takes for an answer; beyond it, PENDING_ACK.
    std::chrono::milliseconds responseTime{200};

    /// Every Nth ack comes this much later than responseTime; 0: never.
    std::uint32_t lateEvery = 0;
    std::chrono::milliseconds lateBy{500};
    /// Every Nth command gets a PENDING_ACK first, and the ack this much later; 0: never.
    std::uint32_t pendingEvery = 0;
    std::chrono::milliseconds pendingTime{300};
    /// Every so many commands the endpoint stalls instead of taking it; 0: never.
    std::uint32_t stallEvery = 0;
    /// Every so many commands a protocol error keeps it from arriving; 0: never.
    std::uint32_t protocolErrorEvery = 0;
    /// When this many bytes of a payload have come, both control endpoints stall.
    std::optional<std::uint64_t> stallAtByte;
    /// Stalled endpoints stall again as soon as they were cleared.
    bool stallForGood = false;
};

}  // namespace simulator
