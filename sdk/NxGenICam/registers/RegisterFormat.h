#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// How a register holds an integer (GenICam Standard 2.0, section 2.8.4 "IntReg", "MaskedIntReg"):
/// bytes of either order, or a field of bits in them.
struct RegisterFormat {
    bool isBigEndian = false;
    bool isSigned = false;
    bool isField = false;
    /// Of a field, counted as the description does: from the most significant bit where the
    /// register is big-endian.
    unsigned int lsb = 0;
    unsigned int msb = 0;

    /// Whether the field lies within a register of that many bytes, 1 to 8.
    [[nodiscard]] bool Fits(std::size_t length) const;
    /// Whether all bits of the register are the field's.
    [[nodiscard]] bool IsWhole(std::size_t length) const;
    [[nodiscard]] std::int64_t Decode(std::span<const std::byte> bytes) const;
    /// Changes the field's bits only.
    /// @return false, `bytes` untouched, when the value needs more bits than there are
    bool Encode(std::int64_t value, std::span<std::byte> bytes) const;
    /// The largest value that there are bits for.
    [[nodiscard]] std::int64_t Largest(std::size_t length) const;

  private:
    struct Field {
        unsigned int shift = 0;
        unsigned int width = 0;
    };
    [[nodiscard]] Field Locate(std::size_t length) const;
};
