#pragma once

#include <cstdint>
#include <string>

/// A payload for RemoteUpdateDfw, encoded here independently of the simulator's own parser.
struct Payload {
    std::uint16_t kind = 1;  ///< 1 firmware, 2 device ID, 3 reset
    std::string family = "MirskoSim";
    std::uint16_t majorNumber = 2;
    std::uint16_t minorNumber = 1;
    std::string body = {};

    /// Header and body.
    [[nodiscard]] std::string Encode() const;
};

/// CRC-32 of IEEE 802.3, bit by bit.
std::uint32_t BitwiseCrc32(const std::string& bytes);
