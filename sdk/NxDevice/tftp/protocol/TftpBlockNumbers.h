#pragma once

#include <cstdint>

/// The 16-bit numbers of a transfer's blocks, which are counted from 1 without an end here.
///
/// RFC 1350 does not say what follows number 65535. Most servers go on with 0, some with 1.
class TftpBlockNumbers {
  public:
    static constexpr std::uint64_t kLastBeforeRollover = 65535;

    enum class Rollover { kToZero, kToOne };

    [[nodiscard]] std::uint16_t NumberOf(std::uint64_t block) const;
    /// The block of that number among the `count` blocks that follow `block`; 0 when none has it.
    [[nodiscard]] std::uint64_t FindAfter(std::uint64_t block, std::uint16_t number,
                                          std::uint64_t count) const;
    [[nodiscard]] Rollover GetRollover() const { return mRollover; }
    void SetRollover(Rollover rollover) { mRollover = rollover; }

  private:
    Rollover mRollover = Rollover::kToZero;
};
