#pragma once

#include <cstdint>
#include <string>

/// Where a GigE Vision device stores its GenICam XML (GigE Vision 2.0, section 26.2.1 "First URL").
struct DescriptionLocation {
    std::string fileName;
    std::uint32_t address = 0;
    std::uint32_t length = 0;  ///< bytes

    /// Takes "Local:camera.zip;10000;5A3C" apart, whatever follows a '?'; numbers are hexadecimal.
    /// @param url not trusted
    /// @return false, `location` untouched, for anything else, an empty file or one over 16 MiB
    static bool Parse(const std::string& url, DescriptionLocation& location);
};
