#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// A UDP datagram inside an IPv4 packet, as read from an interface.
struct UdpPacket {
    std::span<const std::byte> payload;  ///< points into the packet
    std::uint32_t sender = 0;            ///< host byte order
    std::uint16_t sourcePort = 0;
    std::uint16_t destinationPort = 0;

    /// Does not look at checksums. @return nothing for what is not a whole UDP datagram
    static std::optional<UdpPacket> Parse(std::span<const std::byte> packet);
};
