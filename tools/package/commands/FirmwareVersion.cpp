#include "FirmwareVersion.h"

#include <charconv>

std::optional<FirmwareVersion> FirmwareVersion::Parse(const std::string& text) {
    FirmwareVersion version;
    const char* const end = text.data() + text.size();
    const auto major = std::from_chars(text.data(), end, version.major);
    if (major.ec != std::errc() || major.ptr == end || *major.ptr != '.') {
        return std::nullopt;
    }
    const auto minor = std::from_chars(major.ptr + 1, end, version.minor);
    if (minor.ec != std::errc() || minor.ptr != end) {
        return std::nullopt;
    }
    return version;
}
