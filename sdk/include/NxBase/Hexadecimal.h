#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// The number in hexadecimal, in lower case and of at least that many digits.
[[nodiscard]] inline std::string HexDigits(std::uint64_t number, std::size_t digits = 1) {
    std::string text;
    for (; number != 0 || text.size() < digits; number >>= 4U) {
        text.insert(text.begin(), "0123456789abcdef"[number & 0xFU]);
    }
    return text;
}

/// The same after "0x".
[[nodiscard]] inline std::string Hexadecimal(std::uint64_t number, std::size_t digits = 1) {
    return "0x" + HexDigits(number, digits);
}
