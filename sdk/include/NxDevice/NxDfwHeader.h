#pragma once

#include <cstdint>
#include <string>

/// What a payload's header says of it (docs/protocols/dfw-payload.md).
struct NxDfwHeader {
    enum class Kind : std::uint16_t { kFirmware = 1, kDeviceId = 2, kReset = 3 };

    /// Number of bytes of an encoded header; the body begins there.
    static constexpr unsigned int kSize = 64;

    Kind kind = Kind::kFirmware;
    std::uint64_t bodyLength = 0;  ///< bytes
    std::uint32_t bodyCrc = 0;     ///< CRC-32 (IEEE 802.3) of the body
    std::string family;            ///< device family, 1 to 32 characters of printable ASCII
    std::uint16_t major = 0;
    std::uint16_t minor = 0;
};
