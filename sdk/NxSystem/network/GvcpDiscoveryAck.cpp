#include "GvcpDiscoveryAck.h"

#include <algorithm>

#include <NxBase/PrintableText.h>
#include <internal/NxBase/ByteOrder.h>

namespace {

constexpr std::byte kKey{0x42};
constexpr std::byte kAcknowledgeRequired{0x01};
constexpr std::byte kBroadcastAllowed{0x10};
constexpr std::uint16_t kDiscoveryCommand = 0x0002;
constexpr std::uint16_t kDiscoveryAck = 0x0003;
constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kBodySize = 0xf8;

// A text field ends at its first zero byte or with the field.
std::string Text(std::span<const std::byte> field) {
    const std::string_view text(reinterpret_cast<const char*>(field.data()), field.size());
    return PrintableText(text.substr(0, text.find('\0')));
}

}  // namespace

bool GvcpDiscoveryAck::IsLoader() const {
    return manufacturerInfo.starts_with("MIRSKO-LOADER");
}

std::optional<GvcpDiscoveryAck> GvcpDiscoveryAck::Parse(std::span<const std::byte> datagram) {
    if (datagram.size() < kHeaderSize + kBodySize) {
        return std::nullopt;
    }
    const std::byte* header = datagram.data();
    const bool isAck = ByteOrder::LoadBig16(header) == 0 &&
                       ByteOrder::LoadBig16(header + 2) == kDiscoveryAck &&
                       ByteOrder::LoadBig16(header + 4) >= kBodySize;
    if (!isAck) {
        return std::nullopt;
    }
    const auto body = datagram.subspan(kHeaderSize, kBodySize);
    GvcpDiscoveryAck ack;
    ack.requestId = ByteOrder::LoadBig16(header + 6);
    std::transform(body.begin() + 0x0a, body.begin() + 0x10, ack.mac.begin(),
                   [](std::byte byte) { return std::to_integer<std::uint8_t>(byte); });
    ack.address = ByteOrder::LoadBig32(body.data() + 0x24);
    ack.mask = ByteOrder::LoadBig32(body.data() + 0x34);
    ack.gateway = ByteOrder::LoadBig32(body.data() + 0x44);
    ack.manufacturer = Text(body.subspan(0x48, 32));
    ack.model = Text(body.subspan(0x68, 32));
    ack.version = Text(body.subspan(0x88, 32));
    ack.manufacturerInfo = Text(body.subspan(0xa8, 48));
    ack.serial = Text(body.subspan(0xd8, 16));
    ack.userName = Text(body.subspan(0xe8, 16));
    return ack;
}

std::array<std::byte, 8> MakeDiscoveryCommand(std::uint16_t requestId, bool mayBroadcast) {
    std::array<std::byte, 8> command{
        kKey, mayBroadcast ? kAcknowledgeRequired | kBroadcastAllowed : kAcknowledgeRequired};
    ByteOrder::StoreBig16(command.data() + 2, kDiscoveryCommand);
    ByteOrder::StoreBig16(command.data() + 6, requestId);
    return command;
}
