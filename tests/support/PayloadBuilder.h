#pragma once

#include <cstdint>
#include <string>

/// What the header of a payload says besides the length and the checksums.
struct PayloadFields {
    std::uint16_t kind = 1;  ///< 1 firmware, 2 device ID, 3 reset
    std::string family = "MirskoSim";
    std::uint16_t majorNumber = 2;
    std::uint16_t minorNumber = 1;
};

/// A whole payload (docs/protocols/dfw-payload.md), header and body, by default for simulated
/// cameras. Encoded here independently, not by the SDK or the simulator under test.
std::string MakePayload(const std::string& body, const PayloadFields& fields = {});
