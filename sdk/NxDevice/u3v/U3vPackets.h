#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The packets of USB3 Vision's control channel: a GenCP header and its data (USB3 Vision 1.0,
/// section 3 "Device Control"; GenCP 1.1, section 4). Numbers are little-endian.
namespace U3vPackets {

inline constexpr std::size_t kHeaderLength = 12;
/// What a WRITEMEM_CMD holds besides the data that it writes.
inline constexpr std::size_t kWriteOverhead = kHeaderLength + 8;
inline constexpr std::size_t kReadCommandLength = kHeaderLength + 12;
inline constexpr std::size_t kWriteAckLength = kHeaderLength + 4;

inline constexpr std::uint16_t kReadMemoryAck = 0x0801;
inline constexpr std::uint16_t kWriteMemoryAck = 0x0803;
inline constexpr std::uint16_t kPendingAck = 0x0805;

inline constexpr std::uint16_t kStatusSuccess = 0x0000;
inline constexpr std::uint16_t kStatusBusy = 0x8007;

/// READMEM_CMD of `length` bytes at `address`.
std::vector<std::byte> ReadMemory(std::uint16_t id, std::uint64_t address, std::uint16_t length);
/// WRITEMEM_CMD of `data`, at most 65,527 bytes, to `address`.
std::vector<std::byte> WriteMemory(std::uint16_t id, std::uint64_t address,
                                   std::span<const std::byte> data);

/// Whether a command of ours is a READMEM_CMD.
[[nodiscard]] bool IsRead(std::span<const std::byte> command);

/// An ack; `payload` points into the bytes that it was parsed from.
struct Ack {
    std::uint16_t status = 0;
    std::uint16_t command = 0;
    std::uint16_t id = 0;
    std::span<const std::byte> payload;
};

/// @return false, `ack` untouched, when the bytes are not a complete ack
[[nodiscard]] bool ParseAck(std::span<const std::byte> bytes, Ack& ack);

/// "ACCESS_DENIED 0x8006", the standard's name and number of a status.
std::string DescribeStatus(std::uint16_t status);

}  // namespace U3vPackets
