#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "PayloadHeader.h"

namespace simulator {

/// What one firmware image is known by.
struct FirmwareImage {
    FirmwareVersion version;
    std::uint64_t length = 0;  ///< bytes of the body
    std::uint32_t crc = 0;     ///< CRC-32 of the body
    bool operator==(const FirmwareImage&) const = default;
};

/// What a device remembers over power cycles: the content of state.json.
struct FirmwareState {
    FirmwareVersion running;
    FirmwareVersion stored;
    /// The image in the flash; nothing while it still is the factory's.
    std::optional<FirmwareImage> image;
    /// The image that is being written to the flash.
    std::optional<FirmwareImage> flashing;
    std::string deviceId;
    std::uint64_t resets = 0;
    std::uint64_t transfers = 0;
    std::string lastStatus;  ///< the device's own account of the last transfer, at most 1000 bytes

    /// Replaces the file in one step. @return false when it could not be written
    [[nodiscard]] bool Save(const std::filesystem::path& file) const;
    /// @param[out] why what is wrong with the file, set when nothing is returned
    [[nodiscard]] static std::optional<FirmwareState> Load(const std::filesystem::path& file,
                                                           std::string& why);
};

/// Writes a file so that a reader sees the old or the whole new content, never a part.
[[nodiscard]] bool ReplaceFile(const std::filesystem::path& file, const std::string& content);

}  // namespace simulator
