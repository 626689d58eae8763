#pragma once

#include <cstdint>
#include <string>
#include <vector>

inline std::string ToHex(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 0xfU];
    }
    return text;
}

inline std::vector<std::uint8_t> FromHex(const std::string& text) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

inline std::string Hex16(std::size_t value) {
    return ToHex({static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)});
}

inline std::string Hex32(std::uint32_t value) {
    return Hex16(value >> 16U) + Hex16(value);
}
