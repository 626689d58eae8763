#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "simulator/registers/ByteOrder.h"

namespace simulator {

/// A firmware version, "major.minor".
struct FirmwareVersion {
    std::uint16_t majorNumber = 1;
    std::uint16_t minorNumber = 0;

    [[nodiscard]] std::string Text() const;
    /// "2.13"; nothing for any other text, or numbers over 65535.
    [[nodiscard]] static std::optional<FirmwareVersion> Parse(const std::string& text);
    bool operator==(const FirmwareVersion&) const = default;
};

/// The 64 bytes at the start of everything that is written to RemoteUpdateDfw, big-endian: magic
/// "MDFW", u16 format version 1, u16 kind, u32 header length 64, u64 body length, u32 CRC-32 of the
/// body, 32 bytes device family (ASCII, zero-padded), u16 major, u16 minor, u32 CRC-32 of the 60
/// bytes before it.
struct PayloadHeader {
    enum class Kind : std::uint16_t { kFirmware = 1, kDeviceId = 2, kReset = 3 };

    static constexpr std::size_t kSize = 64;

    Kind kind = Kind::kFirmware;
    std::uint64_t bodyLength = 0;  ///< bytes
    std::uint32_t bodyCrc = 0;
    std::string family;
    FirmwareVersion version;

    /// @param bytes the payload's beginning; only the first 64 are looked at
    /// @param[out] why what is wrong with it, one line, set when nothing is returned
    [[nodiscard]] static std::optional<PayloadHeader> Parse(ConstBytes bytes, std::string& why);
};

/// Whether all characters are printable ASCII (0x20 to 0x7e).
[[nodiscard]] bool IsPrintable(const std::string& text);

}  // namespace simulator
