#include "Crc32.h"

#include <array>

namespace simulator {

namespace {

constexpr std::uint32_t kReflectedPolynomial = 0xedb88320U;

constexpr std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t remainder = byte;
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder >> 1U) ^ ((remainder & 1U) != 0 ? kReflectedPolynomial : 0U);
        }
        table[byte] = remainder;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

}  // namespace

void Crc32::Add(ConstBytes bytes) {
    for (const std::uint8_t byte : bytes) {
        mRemainder = (mRemainder >> 8U) ^ kTable[(mRemainder ^ byte) & 0xffU];
    }
}

std::uint32_t Crc32::Of(ConstBytes bytes) {
    Crc32 crc;
    crc.Add(bytes);
    return crc.Value();
}

}  // namespace simulator
