#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace simulator {

using Bytes = std::span<std::uint8_t>;
using ConstBytes = std::span<const std::uint8_t>;

/// An unsigned number of sizeof(Number) bytes, big-endian. The caller has checked that the bytes
/// from `offset` on are there.
template <typename Number>
[[nodiscard]] Number LoadBig(ConstBytes bytes, std::size_t offset) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(offset, sizeof(Number))) {
        value = value << 8U | byte;
    }
    return static_cast<Number>(value);
}

/// Puts an unsigned number, big-endian. The caller has checked that there is room at `offset`.
template <typename Number>
void StoreBig(Bytes bytes, std::size_t offset, Number value) {
    const Bytes target = bytes.subspan(offset, sizeof(Number));
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        target[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >>
                                              8U * (sizeof(Number) - 1 - i));
    }
}

}  // namespace simulator
