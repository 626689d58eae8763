#include "TftpBlockNumbers.h"

std::uint16_t TftpBlockNumbers::NumberOf(std::uint64_t block) const {
    if (mRollover == Rollover::kToZero || block == 0) {
        return static_cast<std::uint16_t>(block);
    }
    return static_cast<std::uint16_t>((block - 1) % 65535 + 1);
}

std::uint64_t TftpBlockNumbers::FindAfter(std::uint64_t block, std::uint16_t number,
                                          std::uint64_t count) const {
    if (mRollover == Rollover::kToOne && number == 0) {
        return 0;
    }
    const std::uint64_t cycle = mRollover == Rollover::kToZero ? 65536 : 65535;
    const std::uint64_t distance = (number % cycle + cycle - block % cycle) % cycle;
    return distance >= 1 && distance <= count ? block + distance : 0;
}
