#pragma once

#include <cstdint>
#include <optional>

namespace simulator {

/// Blocks counted from 1 without end, and the 16-bit numbers that packets carry for them. After
/// 65,535 a sender goes on with 0 or, in other implementations, with 1.
class TftpBlockNumber {
  public:
    explicit TftpBlockNumber(std::uint16_t rollover) : mRollover(rollover) {}

    [[nodiscard]] std::uint16_t OnWire(std::uint64_t block) const;
    /// How many blocks after `reference` (negative: before it) the nearest block lies that a
    /// packet calls `wire`; empty when no block has that number.
    [[nodiscard]] std::optional<std::int64_t> Distance(std::uint64_t reference,
                                                       std::uint16_t wire) const;

  private:
    std::uint16_t mRollover;
};

}  // namespace simulator
