#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include <NxBase/NxResult.h>

/// The bytes that a transfer sends.
class TftpSource {
  public:
    virtual ~TftpSource();

    [[nodiscard]] virtual std::uint64_t Size() const = 0;
    /// Fills the whole buffer from that byte on, which `Size` allows. Called with rising offsets.
    virtual NxResult Read(std::uint64_t offset, std::span<std::byte> buffer) = 0;
};
