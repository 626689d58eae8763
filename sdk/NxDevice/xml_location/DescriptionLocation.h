#pragma once

#include <cstdint>
#include <string>

/// Where a GigE Vision device stores its GenICam XML (GigE Vision 2.0, section 26.2.1 "First URL").
struct DescriptionLocation {
    std::string fileName;
    std::uint32_t address = 0;
    std::uint32_t length = 0;  ///< bytes

    /// Parses "Local:camera.zip;10000;5A3C"; numbers are hexadecimal. Blanks around its parts,
    /// the case of its letters, "0x", and whatever follows a zero byte, or a '?' after the length,
    /// do not matter.
    /// @param url not trusted
    /// @return what is wrong with it, e.g. "its length is 0", `location` then untouched; empty when
    ///         nothing is: a file of 1 byte to 16 MiB in the device itself
    [[nodiscard]] static std::string Parse(const std::string& url, DescriptionLocation& location);
};
