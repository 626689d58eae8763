#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The version of a firmware payload, written "major.minor".
struct FirmwareVersion {
    std::uint16_t major = 0;
    std::uint16_t minor = 0;

    /// @return nothing unless the text is two decimal numbers of 0 to 65535 with a dot between
    static std::optional<FirmwareVersion> Parse(const std::string& text);
};
