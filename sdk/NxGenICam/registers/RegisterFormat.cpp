#include "RegisterFormat.h"

#include <algorithm>

namespace {

std::uint64_t Mask(unsigned int width) {
    return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

unsigned int ShiftOf(std::size_t byte, std::size_t length, bool isBigEndian) {
    return static_cast<unsigned int>(8 * (isBigEndian ? length - 1 - byte : byte));
}

std::uint64_t Join(std::span<const std::byte> bytes, bool isBigEndian) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bits |= std::to_integer<std::uint64_t>(bytes[i]) << ShiftOf(i, bytes.size(), isBigEndian);
    }
    return bits;
}

}  // namespace

RegisterFormat::Field RegisterFormat::Locate(std::size_t length) const {
    const auto bits = static_cast<unsigned int>(8 * length);
    if (!isField) {
        return {.shift = 0, .width = bits};
    }
    const unsigned int one = isBigEndian ? bits - 1 - lsb : lsb;
    const unsigned int other = isBigEndian ? bits - 1 - msb : msb;
    return {.shift = std::min(one, other),
            .width = std::max(one, other) - std::min(one, other) + 1};
}

bool RegisterFormat::Fits(std::size_t length) const {
    return length >= 1 && length <= 8 && (!isField || std::max(lsb, msb) < 8 * length);
}

bool RegisterFormat::IsWhole(std::size_t length) const {
    return Locate(length).width == 8 * length;
}

std::int64_t RegisterFormat::Decode(std::span<const std::byte> bytes) const {
    const Field field = Locate(bytes.size());
    std::uint64_t bits = (Join(bytes, isBigEndian) >> field.shift) & Mask(field.width);
    if (isSigned && ((bits >> (field.width - 1)) & 1U) != 0) {
        bits |= ~Mask(field.width);
    }
    return static_cast<std::int64_t>(bits);
}

bool RegisterFormat::Encode(std::int64_t value, std::span<std::byte> bytes) const {
    const Field field = Locate(bytes.size());
    const auto bits = static_cast<std::uint64_t>(value);
    const bool isPositive = (bits & ~Mask(field.width)) == 0;
    const bool isNegative = value < 0 && (~bits & ~Mask(field.width - 1)) == 0;
    if (!isPositive && !isNegative) {
        return false;
    }
    const std::uint64_t mask = Mask(field.width) << field.shift;
    const std::uint64_t all = (Join(bytes, isBigEndian) & ~mask) | ((bits << field.shift) & mask);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::byte>((all >> ShiftOf(i, bytes.size(), isBigEndian)) & 0xFFU);
    }
    return true;
}

std::int64_t RegisterFormat::Largest(std::size_t length) const {
    const unsigned int width = Locate(length).width - (isSigned ? 1U : 0U);
    return static_cast<std::int64_t>(std::min(Mask(width), Mask(63)));
}
