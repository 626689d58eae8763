#include "GvcpPacket.h"

#include <algorithm>
#include <array>
#include <utility>

#include <internal/NxBase/ByteOrder.h>

#include <NxBase/Hexadecimal.h>

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::byte kKey{0x42};
constexpr std::byte kAckRequired{0x01};

std::vector<std::byte> MakeCommand(GvcpPacket::Command command, std::size_t payloadSize) {
    std::vector<std::byte> packet(kHeaderSize + payloadSize);
    packet[0] = kKey;
    packet[1] = kAckRequired;
    ByteOrder::StoreBig16(&packet[2], static_cast<std::uint16_t>(command));
    ByteOrder::StoreBig16(&packet[4], static_cast<std::uint16_t>(payloadSize));
    return packet;
}

constexpr std::array<std::pair<std::uint16_t, const char*>, 13> kStatusWords{{
    {0x8001, "NOT_IMPLEMENTED"},
    {0x8002, "INVALID_PARAMETER"},
    {0x8003, "INVALID_ADDRESS"},
    {0x8004, "WRITE_PROTECT"},
    {0x8005, "BAD_ALIGNMENT"},
    {0x8006, "ACCESS_DENIED"},
    {0x8007, "BUSY"},
    {0x8008, "LOCAL_PROBLEM"},
    {0x8009, "MSG_MISMATCH"},
    {0x800A, "INVALID_PROTOCOL"},
    {0x800E, "INVALID_HEADER"},
    {0x800F, "WRONG_CONFIG"},
    {0x8FFF, "ERROR"},
}};

}  // namespace

std::vector<std::byte> GvcpPacket::ReadRegisters(std::span<const std::uint32_t> addresses) {
    std::vector<std::byte> packet = MakeCommand(Command::kReadRegister, 4 * addresses.size());
    std::byte* at = &packet[kHeaderSize];
    for (const std::uint32_t address : addresses) {
        ByteOrder::StoreBig32(at, address);
        at += 4;
    }
    return packet;
}

std::vector<std::byte> GvcpPacket::WriteRegisters(std::span<const RegisterValue> registers) {
    std::vector<std::byte> packet = MakeCommand(Command::kWriteRegister, 8 * registers.size());
    std::byte* at = &packet[kHeaderSize];
    for (const RegisterValue& one : registers) {
        ByteOrder::StoreBig32(at, one.address);
        ByteOrder::StoreBig32(at + 4, one.value);
        at += 8;
    }
    return packet;
}

std::vector<std::byte> GvcpPacket::ReadMemory(std::uint32_t address, std::size_t count) {
    std::vector<std::byte> packet = MakeCommand(Command::kReadMemory, 8);
    ByteOrder::StoreBig32(&packet[kHeaderSize], address);
    ByteOrder::StoreBig16(&packet[kHeaderSize + 6], static_cast<std::uint16_t>(count));
    return packet;
}

std::vector<std::byte> GvcpPacket::WriteMemory(std::uint32_t address,
                                               std::span<const std::byte> data) {
    const std::size_t padded = (data.size() + 3) / 4 * 4;
    std::vector<std::byte> packet = MakeCommand(Command::kWriteMemory, 4 + padded);
    ByteOrder::StoreBig32(&packet[kHeaderSize], address);
    std::copy(data.begin(), data.end(), packet.begin() + kHeaderSize + 4);
    return packet;
}

void GvcpPacket::SetId(std::vector<std::byte>& command, std::uint16_t id) {
    ByteOrder::StoreBig16(&command[6], id);
}

std::optional<GvcpPacket::Ack> GvcpPacket::ParseAck(std::span<const std::byte> datagram) {
    if (datagram.size() < kHeaderSize) {
        return std::nullopt;
    }
    const std::size_t length = ByteOrder::LoadBig16(&datagram[4]);
    if (length > datagram.size() - kHeaderSize) {
        return std::nullopt;
    }
    return Ack{.status = ByteOrder::LoadBig16(&datagram[0]),
               .code = ByteOrder::LoadBig16(&datagram[2]),
               .id = ByteOrder::LoadBig16(&datagram[6]),
               .payload = datagram.subspan(kHeaderSize, length)};
}

std::uint16_t GvcpPacket::PendingMilliseconds(const Ack& ack) {
    return ack.payload.size() >= 4 ? ByteOrder::LoadBig16(&ack.payload[2]) : std::uint16_t{0};
}

std::string GvcpPacket::CommandName(Command command) {
    switch (command) {
        case Command::kReadRegister:
            return "READREG";
        case Command::kWriteRegister:
            return "WRITEREG";
        case Command::kReadMemory:
            return "READMEM";
        case Command::kWriteMemory:
            return "WRITEMEM";
    }
    return "command";
}

std::string GvcpPacket::StatusName(std::uint16_t status) {
    const auto* const known =
        std::ranges::find(kStatusWords, status, [](const auto& word) { return word.first; });
    return std::string(known != kStatusWords.end() ? known->second : "status") + " " +
           Hexadecimal(status, 4);
}
