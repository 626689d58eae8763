#pragma once

#include <cstddef>
#include <cstdint>

/// Loads and stores of numbers in network byte order (big-endian) and in USB's (little-endian), at
/// any alignment.
namespace ByteOrder {

inline std::uint16_t LoadBig16(const std::byte* bytes) {
    return static_cast<std::uint16_t>((std::to_integer<unsigned>(bytes[0]) << 8U) |
                                      std::to_integer<unsigned>(bytes[1]));
}

inline std::uint32_t LoadBig32(const std::byte* bytes) {
    return (static_cast<std::uint32_t>(LoadBig16(bytes)) << 16U) | LoadBig16(bytes + 2);
}

inline std::uint64_t LoadBig64(const std::byte* bytes) {
    return (static_cast<std::uint64_t>(LoadBig32(bytes)) << 32U) | LoadBig32(bytes + 4);
}

inline void StoreBig16(std::byte* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::byte>(value >> 8U);
    bytes[1] = static_cast<std::byte>(value & 0xFFU);
}

inline void StoreBig32(std::byte* bytes, std::uint32_t value) {
    StoreBig16(bytes, static_cast<std::uint16_t>(value >> 16U));
    StoreBig16(bytes + 2, static_cast<std::uint16_t>(value & 0xFFFFU));
}

inline void StoreBig64(std::byte* bytes, std::uint64_t value) {
    StoreBig32(bytes, static_cast<std::uint32_t>(value >> 32U));
    StoreBig32(bytes + 4, static_cast<std::uint32_t>(value & 0xFFFFFFFFU));
}

inline std::uint16_t LoadLittle16(const std::byte* bytes) {
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[0]) |
                                      (std::to_integer<unsigned>(bytes[1]) << 8U));
}

inline std::uint32_t LoadLittle32(const std::byte* bytes) {
    return LoadLittle16(bytes) | (static_cast<std::uint32_t>(LoadLittle16(bytes + 2)) << 16U);
}

inline std::uint64_t LoadLittle64(const std::byte* bytes) {
    return LoadLittle32(bytes) | (static_cast<std::uint64_t>(LoadLittle32(bytes + 4)) << 32U);
}

inline void StoreLittle16(std::byte* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::byte>(value & 0xFFU);
    bytes[1] = static_cast<std::byte>(value >> 8U);
}

inline void StoreLittle32(std::byte* bytes, std::uint32_t value) {
    StoreLittle16(bytes, static_cast<std::uint16_t>(value & 0xFFFFU));
    StoreLittle16(bytes + 2, static_cast<std::uint16_t>(value >> 16U));
}

inline void StoreLittle64(std::byte* bytes, std::uint64_t value) {
    StoreLittle32(bytes, static_cast<std::uint32_t>(value & 0xFFFFFFFFU));
    StoreLittle32(bytes + 4, static_cast<std::uint32_t>(value >> 32U));
}

}  // namespace ByteOrder
