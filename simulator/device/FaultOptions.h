#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "simulator/tftp/session/TftpFaults.h"

namespace simulator {

/// What happens to datagrams in one direction: percentages, 0 to 100, each drawn for itself.
struct DatagramFaults {
    double lossPercent = 0;
    double duplicatePercent = 0;
    /// Let the next datagram go first (or 50 ms pass, when none comes).
    double reorderPercent = 0;
    double delayPercent = 0;
    std::chrono::milliseconds delay{100};  ///< of the datagrams drawn for delayPercent

    bool operator==(const DatagramFaults&) const = default;
};

/// What goes wrong, on purpose and repeatably.
struct FaultOptions {
    std::uint32_t seed = 1;

    // The GigE Vision control channel, discovery included.
    DatagramFaults received;
    DatagramFaults sent;
    double staleAckPercent = 0;  ///< the acknowledge of an earlier command goes first
    double busyPercent = 0;      ///< answered BUSY, not carried out
    bool refuseControl = false;  ///< as if another application had control
    /// After so many commands nothing is answered any more, until power-on; discovery does not
    /// count.
    std::optional<std::uint64_t> muteAfterCommands;
    std::chrono::milliseconds discoveryDelay{0};  ///< of every discovery acknowledge
    std::uint32_t discoveriesLost = 0;            ///< of the first ones after power-on

    TftpFaults tftp;  ///< drawn with `seed`, not with its own

    // When this many bytes of a payload have come, whatever the bus; each strikes once.
    std::optional<std::uint64_t> muteAtByte;    ///< no answer any more, until power-on
    std::optional<std::uint64_t> rebootAtByte;  ///< as after a watchdog
    std::optional<std::uint64_t> vanishAtByte;  ///< unplugged
    /// GigE Vision: another application takes control over and keeps it.
    std::optional<std::uint64_t> loseControlAtByte;
};

}  // namespace simulator
