#include "TftpBlockNumber.h"

namespace simulator {

std::uint16_t TftpBlockNumber::OnWire(std::uint64_t block) const {
    if (mRollover == 0 || block == 0) {
        return static_cast<std::uint16_t>(block & 0xFFFFU);
    }
    return static_cast<std::uint16_t>((block - 1) % 65535 + 1);
}

std::optional<std::int64_t> TftpBlockNumber::Distance(std::uint64_t reference,
                                                      std::uint16_t wire) const {
    const std::int64_t modulus = mRollover == 0 ? 65536 : 65535;
    if (mRollover == 1 && wire == 0) {
        // Only the acknowledgement of a request has this number.
        return reference < 32768 ? std::optional(-static_cast<std::int64_t>(reference))
                                 : std::nullopt;
    }
    std::int64_t distance = (wire - OnWire(reference)) % modulus;
    if (distance < 0) {
        distance += modulus;
    }
    if (distance > modulus / 2) {
        distance -= modulus;
    }
    return distance;
}

}  // namespace simulator
