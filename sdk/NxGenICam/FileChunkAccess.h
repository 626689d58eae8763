#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <NxBase/NxResult.h>

/// Moves one buffer's worth of bytes between this computer and the device's open file, with the
/// file operation (Read or Write) already selected (SFNC 2.7, section 14 "File Access Control").
class FileChunkAccess {
  public:
    virtual ~FileChunkAccess() = default;

    /// Bytes that one call moves at most; at least 1.
    [[nodiscard]] virtual std::size_t ChunkSize() const = 0;
    /// @param offset byte of the device's file at which the chunk begins
    /// @param taken bytes that the device took, at most the chunk's; 0 is possible
    virtual NxResult Write(std::uint64_t offset, std::span<const std::byte> chunk,
                           std::uint64_t& taken) = 0;
    /// @param given bytes that the device gave, at most the chunk's; 0 at the end of the file
    virtual NxResult Read(std::uint64_t offset, std::span<std::byte> chunk,
                          std::uint64_t& given) = 0;
};
