#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/registers/ByteOrder.h"

namespace simulator {

/// The GigE Vision Control Protocol's numbers (GigE Vision 2.0, chapters 14 to 17) and headers.
namespace gvcp {

inline constexpr std::uint16_t kPort = 3956;
inline constexpr std::uint8_t kKey = 0x42;
inline constexpr std::uint8_t kAcknowledgeFlag = 0x01;
inline constexpr std::uint8_t kBroadcastAckFlag = 0x10;  ///< the ack may be broadcast
inline constexpr std::size_t kHeaderSize = 8;
inline constexpr std::size_t kMaxPayload = 540;                     ///< bytes behind the header
inline constexpr std::uint32_t kFirstManufacturerAddress = 0xa000;  ///< below: bootstrap
inline constexpr std::size_t kMaxMemoryData = 536;  ///< bytes of one READMEM or WRITEMEM

enum Command : std::uint16_t {
    kDiscovery = 0x0002,
    kForceIp = 0x0004,
    kPacketResend = 0x0040,
    kReadRegister = 0x0080,
    kWriteRegister = 0x0082,
    kReadMemory = 0x0084,
    kWriteMemory = 0x0086,
    kPending = 0x0088  ///< only its ack exists, 0x0089
};

enum Status : std::uint16_t {
    kSuccess = 0x0000,
    kNotImplemented = 0x8001,
    kInvalidParameter = 0x8002,
    kInvalidAddress = 0x8003,
    kWriteProtect = 0x8004,
    kBadAlignment = 0x8005,
    kAccessDenied = 0x8006,
    kBusy = 0x8007,
    kInvalidHeader = 0x800e
};

/// The header of an ack and its payload.
inline std::vector<std::uint8_t> Acknowledge(std::uint16_t status, std::uint16_t command,
                                             std::uint16_t id, ConstBytes payload = {}) {
    std::vector<std::uint8_t> packet(kHeaderSize + payload.size());
    StoreBig<std::uint16_t>(packet, 0, status);
    StoreBig<std::uint16_t>(packet, 2, static_cast<std::uint16_t>(command + 1));
    StoreBig<std::uint16_t>(packet, 4, static_cast<std::uint16_t>(payload.size()));
    StoreBig<std::uint16_t>(packet, 6, id);
    std::ranges::copy(payload, packet.begin() + kHeaderSize);
    return packet;
}

}  // namespace gvcp

}  // namespace simulator
