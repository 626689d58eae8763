#include "TftpPacket.h"

#include <algorithm>
#include <string_view>

namespace simulator {

namespace {

void AppendNumber(TftpPacket::Bytes& bytes, std::uint16_t number) {
    bytes.push_back(static_cast<std::uint8_t>(number >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(number & 0xFFU));
}

void AppendText(TftpPacket::Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

std::uint16_t NumberAt(std::span<const std::uint8_t> datagram, std::size_t at) {
    return static_cast<std::uint16_t>(datagram[at] << 8U | datagram[at + 1]);
}

std::string LowerCase(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return text;
}

/// The texts of a request; empty when the last one has no terminating zero.
std::vector<std::string> Texts(std::span<const std::uint8_t> bytes) {
    std::vector<std::string> texts;
    while (!bytes.empty()) {
        const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
        if (end == bytes.end()) {
            return {};
        }
        texts.emplace_back(bytes.begin(), end);
        bytes = bytes.subspan(static_cast<std::size_t>(end - bytes.begin()) + 1);
    }
    return texts;
}

bool TakeOptions(const std::vector<std::string>& texts, std::size_t first, TftpPacket& packet) {
    if ((texts.size() - first) % 2 != 0) {
        return false;
    }
    for (std::size_t at = first; at < texts.size(); at += 2) {
        std::string name = LowerCase(texts[at]);
        const bool known = std::any_of(packet.options.begin(), packet.options.end(),
                                       [&](const auto& option) { return option.first == name; });
        if (!known) {
            packet.options.emplace_back(std::move(name), texts[at + 1]);
        }
    }
    return true;
}

bool TakeRequest(std::span<const std::uint8_t> body, TftpPacket& packet) {
    const std::vector<std::string> texts = Texts(body);
    if (texts.size() < 2 || texts[0].empty()) {
        return false;
    }
    packet.file = texts[0];
    packet.mode = LowerCase(texts[1]);
    return TakeOptions(texts, 2, packet);
}

}  // namespace

std::optional<TftpPacket> TftpPacket::Parse(std::span<const std::uint8_t> datagram) {
    if (datagram.size() < 2) {
        return std::nullopt;
    }
    TftpPacket packet;
    packet.opcode = static_cast<TftpOpcode>(NumberAt(datagram, 0));
    const std::span<const std::uint8_t> body = datagram.subspan(2);
    bool wellFormed = false;
    switch (packet.opcode) {
        case TftpOpcode::kReadRequest:
        case TftpOpcode::kWriteRequest:
            wellFormed = TakeRequest(body, packet);
            break;
        case TftpOpcode::kOptionAck:
            wellFormed = (body.empty() || body.back() == 0) && TakeOptions(Texts(body), 0, packet);
            break;
        case TftpOpcode::kData:
        case TftpOpcode::kAck:
            if (body.size() >= 2) {
                wellFormed = true;
                packet.block = NumberAt(body, 0);
                packet.data = body.subspan(2);
            }
            break;
        case TftpOpcode::kError:
            if (body.size() >= 2) {
                wellFormed = true;
                packet.error.code = static_cast<TftpErrorCode>(NumberAt(body, 0));
                const auto text = body.subspan(2);
                packet.error.text.assign(text.begin(),
                                         std::find(text.begin(), text.end(), std::uint8_t{0}));
            }
            break;
    }
    return wellFormed ? std::optional(std::move(packet)) : std::nullopt;
}

TftpPacket::Bytes TftpPacket::Request(TftpOpcode opcode, const std::string& file,
                                      const std::string& mode, const TftpOptionList& options) {
    Bytes bytes;
    AppendNumber(bytes, static_cast<std::uint16_t>(opcode));
    AppendText(bytes, file);
    AppendText(bytes, mode);
    for (const auto& [name, value] : options) {
        AppendText(bytes, name);
        AppendText(bytes, value);
    }
    return bytes;
}

TftpPacket::Bytes TftpPacket::Data(std::uint16_t block, std::span<const std::uint8_t> data) {
    Bytes bytes;
    bytes.reserve(data.size() + 4);
    AppendNumber(bytes, static_cast<std::uint16_t>(TftpOpcode::kData));
    AppendNumber(bytes, block);
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

TftpPacket::Bytes TftpPacket::Ack(std::uint16_t block) {
    Bytes bytes;
    AppendNumber(bytes, static_cast<std::uint16_t>(TftpOpcode::kAck));
    AppendNumber(bytes, block);
    return bytes;
}

TftpPacket::Bytes TftpPacket::Error(const TftpError& error) {
    Bytes bytes;
    AppendNumber(bytes, static_cast<std::uint16_t>(TftpOpcode::kError));
    AppendNumber(bytes, static_cast<std::uint16_t>(error.code));
    AppendText(bytes, error.text);
    return bytes;
}

TftpPacket::Bytes TftpPacket::OptionAck(const TftpOptionList& options) {
    Bytes bytes;
    AppendNumber(bytes, static_cast<std::uint16_t>(TftpOpcode::kOptionAck));
    for (const auto& [name, value] : options) {
        AppendText(bytes, name);
        AppendText(bytes, value);
    }
    return bytes;
}

}  // namespace simulator
