#include "UdpPacket.h"

#include <internal/NxBase/ByteOrder.h>

std::optional<UdpPacket> UdpPacket::Parse(std::span<const std::byte> packet) {
    constexpr std::size_t kShortestHeader = 20;
    constexpr std::size_t kUdpHeader = 8;
    constexpr std::byte kVersion4{0x40};
    constexpr std::byte kUdp{17};
    constexpr std::uint16_t kFragment = 0x3fff;  // more of them, or not the first
    if (packet.size() < kShortestHeader || (packet[0] & std::byte{0xf0}) != kVersion4 ||
        packet[9] != kUdp || (ByteOrder::LoadBig16(packet.data() + 6) & kFragment) != 0) {
        return std::nullopt;
    }
    const std::size_t header = std::to_integer<std::size_t>(packet[0] & std::byte{0x0f}) * 4;
    if (header < kShortestHeader || packet.size() < header + kUdpHeader) {
        return std::nullopt;
    }
    const std::byte* udp = packet.data() + header;
    const std::size_t length = ByteOrder::LoadBig16(udp + 4);
    if (length < kUdpHeader || packet.size() < header + length) {
        return std::nullopt;
    }
    return UdpPacket{packet.subspan(header + kUdpHeader, length - kUdpHeader),
                     ByteOrder::LoadBig32(packet.data() + 12), ByteOrder::LoadBig16(udp),
                     ByteOrder::LoadBig16(udp + 2)};
}
