#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "PlannedFault.h"
#include "simulator/network/DatagramFaults.h"
#include "simulator/tftp/session/TftpFaults.h"

namespace simulator {

/// What goes wrong, on purpose and repeatably.
struct FaultOptions {
    std::uint32_t seed = 1;

    // The GigE Vision control channel, discovery included.
    DatagramFaults received;
    DatagramFaults sent;
    double staleAckPercent = 0;  ///< the ack of an earlier command goes first
    double busyPercent = 0;      ///< answered BUSY, not carried out
    bool refuseControl = false;  ///< as if another application had control
    /// After so many commands nothing is answered any more, until power-on; discovery does not
    /// count.
    std::optional<std::uint64_t> muteAfterCommands;
    std::chrono::milliseconds discoveryDelay{0};  ///< of every discovery ack
    std::uint32_t discoveriesLost = 0;            ///< of the first ones after power-on

    TftpFaults tftp;

    // When this many bytes of a payload have come, whatever the bus; each strikes once.
    std::optional<std::uint64_t> muteAtByte;    ///< no answer any more, until power-on
    std::optional<std::uint64_t> rebootAtByte;  ///< as after a watchdog
    std::optional<std::uint64_t> vanishAtByte;  ///< unplugged
    /// GigE Vision: another application takes control over and keeps it.
    std::optional<std::uint64_t> loseControlAtByte;
    /// More of the kind, at other moments too.
    std::vector<PlannedFault> planned;
};

}  // namespace simulator
