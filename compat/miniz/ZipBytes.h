#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <unistd.h>

/// The little-endian integers of a zip archive, and reading at a place of its file.

inline std::uint16_t Little16(const unsigned char* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8U);
}

inline std::uint32_t Little32(const unsigned char* bytes) {
    return Little16(bytes) | static_cast<std::uint32_t>(Little16(bytes + 2)) << 16U;
}

inline std::uint64_t Little64(const unsigned char* bytes) {
    return Little32(bytes) | static_cast<std::uint64_t>(Little32(bytes + 4)) << 32U;
}

/// Reads exactly `count` bytes.
/// @return false at the end of the file and when reading fails
[[nodiscard]] inline bool ReadAt(int descriptor, std::uint64_t offset, unsigned char* bytes,
                                 std::size_t count) {
    while (count > 0) {
        const ssize_t got = pread(descriptor, bytes, count, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes += got;
        offset += static_cast<std::uint64_t>(got);
        count -= static_cast<std::size_t>(got);
    }
    return true;
}
