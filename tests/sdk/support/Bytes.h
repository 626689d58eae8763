#pragma once

#include <cstddef>
#include <span>
#include <string>

/// A text's bytes; valid as long as the text.
inline std::span<const std::byte> BytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

inline std::string TextOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
