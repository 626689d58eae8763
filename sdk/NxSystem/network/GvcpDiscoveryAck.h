#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// What a device says of itself in a DISCOVERY_ACK (GigE Vision 2.0, section 16.1.2).
struct GvcpDiscoveryAck {
    std::uint16_t requestId = 0;
    std::array<std::uint8_t, 6> mac{};
    std::uint32_t address = 0;  ///< host byte order, like the next two
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
    std::string manufacturer;
    std::string model;
    std::string version;
    std::string manufacturerInfo;
    std::string serial;
    std::string userName;

    /// True for a device in its boot loader, which accepts firmware by TFTP only.
    [[nodiscard]] bool IsLoader() const;

    /// Empty if the datagram is not a well-formed, successful DISCOVERY_ACK. Characters that are
    /// not printable are replaced, since the texts are shown on consoles.
    static std::optional<GvcpDiscoveryAck> Parse(std::span<const std::byte> datagram);
};

/// A DISCOVERY_CMD (GigE Vision 2.0, section 16.1.1).
/// @param mayBroadcast a device in another subnet may broadcast its ack
std::array<std::byte, 8> MakeDiscoveryCommand(std::uint16_t requestId, bool mayBroadcast = false);
