#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxDevice/NxDfwHeader.h>

/// A payload's header to and from its 64 bytes (docs/protocols/dfw-payload.md).
namespace DfwHeaderCodec {

using Bytes = std::array<std::byte, NxDfwHeader::kSize>;

Bytes Encode(const NxDfwHeader& header);
/// @return what is wrong with the bytes, `header` then untouched; empty when nothing is
std::string Decode(std::span<const std::byte, NxDfwHeader::kSize> bytes, NxDfwHeader& header);

/// Whether the bytes are a record that resets the device before it can acknowledge it.
bool IsResetRecord(std::span<const std::byte> bytes);

/// Whether it is 1 to `longest` characters of printable ASCII.
bool IsPrintable(const std::string& text, std::size_t longest);
/// CRC-32 (IEEE 802.3) of bytes that follow others of CRC-32 `previous`.
std::uint32_t Crc32(std::span<const std::byte> bytes, std::uint32_t previous = 0);

constexpr std::size_t kLongestFamily = 32;
constexpr std::size_t kLongestDeviceId = 63;

}  // namespace DfwHeaderCodec
