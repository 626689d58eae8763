#include "TftpPacket.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include <NxBase/Ascii.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ByteOrder.h>

namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kMostOptions = 16;

using Bytes = std::span<const std::byte>;

// Takes a zero-terminated text off the front of the bytes; false when no zero is there.
bool TakeText(Bytes& bytes, std::string& text) {
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
    if (end == bytes.end()) {
        return false;
    }
    const auto length = static_cast<std::size_t>(end - bytes.begin());
    text.assign(reinterpret_cast<const char*>(bytes.data()), length);
    bytes = bytes.subspan(length + 1);
    return true;
}

std::string MessageOf(Bytes bytes) {
    // Cut at the zero, which some servers leave out.
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return PrintableText(text.substr(0, text.find('\0')));
}

bool ParseOptions(Bytes bytes, std::vector<TftpOption>& options) {
    while (!bytes.empty()) {
        TftpOption option;
        if (!TakeText(bytes, option.name) || !TakeText(bytes, option.value) ||
            option.name.empty() || options.size() == kMostOptions) {
            return false;
        }
        option.name = Ascii::LowerCase(option.name);
        const bool repeated =
            std::any_of(options.begin(), options.end(),
                        [&option](const TftpOption& other) { return other.name == option.name; });
        if (repeated) {
            return false;
        }
        options.push_back(std::move(option));
    }
    return true;
}

void AppendNumber(std::vector<std::byte>& packet, std::uint16_t number) {
    std::array<std::byte, 2> bytes{};
    ByteOrder::StoreBig16(bytes.data(), number);
    packet.insert(packet.end(), bytes.begin(), bytes.end());
}

void AppendText(std::vector<std::byte>& packet, const std::string& text) {
    const Bytes bytes = std::as_bytes(std::span(text.c_str(), text.size() + 1));
    packet.insert(packet.end(), bytes.begin(), bytes.end());
}

TftpEncoder::Header HeaderOf(TftpOpcode opcode, std::uint16_t number) {
    TftpEncoder::Header header{};
    ByteOrder::StoreBig16(header.data(), static_cast<std::uint16_t>(opcode));
    ByteOrder::StoreBig16(header.data() + 2, number);
    return header;
}

}  // namespace

bool TftpPacket::Parse(std::span<const std::byte> datagram, TftpPacket& packet) {
    if (datagram.size() < 2) {
        return false;
    }
    packet.opcode = static_cast<TftpOpcode>(ByteOrder::LoadBig16(datagram.data()));
    if (packet.opcode == TftpOpcode::kOptionAck) {
        packet.options.clear();
        packet.optionsValid = ParseOptions(datagram.subspan(2), packet.options);
        return true;
    }
    if (datagram.size() < kHeaderSize) {
        return false;
    }
    packet.number = ByteOrder::LoadBig16(datagram.data() + 2);
    switch (packet.opcode) {
        case TftpOpcode::kAck:
            return true;
        case TftpOpcode::kData:
            packet.data = datagram.subspan(kHeaderSize);
            return true;
        case TftpOpcode::kError:
            packet.text = MessageOf(datagram.subspan(kHeaderSize));
            return true;
        default:
            return false;
    }
}

std::vector<std::byte> TftpEncoder::Request(TftpOpcode opcode, const std::string& fileName,
                                            const std::vector<TftpOption>& options) {
    std::vector<std::byte> packet;
    AppendNumber(packet, static_cast<std::uint16_t>(opcode));
    AppendText(packet, fileName);
    AppendText(packet, "octet");
    for (const TftpOption& option : options) {
        AppendText(packet, option.name);
        AppendText(packet, option.value);
    }
    return packet;
}

TftpEncoder::Header TftpEncoder::DataHeader(std::uint16_t block) {
    return HeaderOf(TftpOpcode::kData, block);
}

TftpEncoder::Header TftpEncoder::Ack(std::uint16_t block) {
    return HeaderOf(TftpOpcode::kAck, block);
}

std::vector<std::byte> TftpEncoder::Error(TftpErrorCode code, const std::string& message) {
    std::vector<std::byte> packet;
    AppendNumber(packet, static_cast<std::uint16_t>(TftpOpcode::kError));
    AppendNumber(packet, static_cast<std::uint16_t>(code));
    AppendText(packet, message);
    return packet;
}
