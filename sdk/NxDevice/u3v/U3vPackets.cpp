#include "U3vPackets.h"

#include <algorithm>
#include <array>

#include <internal/NxBase/ByteOrder.h>

#include <NxBase/Hexadecimal.h>

namespace U3vPackets {

namespace {

constexpr std::uint32_t kMagic = 0x43563355;  // "U3VC"
constexpr std::uint16_t kRequestAck = 0x4000;
constexpr std::uint16_t kReadMemoryCommand = 0x0800;
constexpr std::uint16_t kWriteMemoryCommand = 0x0802;

std::vector<std::byte> Command(std::uint16_t command, std::uint16_t id, std::size_t length) {
    std::vector<std::byte> packet(kHeaderLength + length);
    ByteOrder::StoreLittle32(&packet[0], kMagic);
    ByteOrder::StoreLittle16(&packet[4], kRequestAck);
    ByteOrder::StoreLittle16(&packet[6], command);
    ByteOrder::StoreLittle16(&packet[8], static_cast<std::uint16_t>(length));
    ByteOrder::StoreLittle16(&packet[10], id);
    return packet;
}

}  // namespace

std::vector<std::byte> ReadMemory(std::uint16_t id, std::uint64_t address, std::uint16_t length) {
    std::vector<std::byte> packet = Command(kReadMemoryCommand, id, 12);
    ByteOrder::StoreLittle64(&packet[12], address);
    ByteOrder::StoreLittle16(&packet[22], length);
    return packet;
}

std::vector<std::byte> WriteMemory(std::uint16_t id, std::uint64_t address,
                                   std::span<const std::byte> data) {
    std::vector<std::byte> packet = Command(kWriteMemoryCommand, id, 8 + data.size());
    ByteOrder::StoreLittle64(&packet[12], address);
    std::copy(data.begin(), data.end(), packet.begin() + kWriteOverhead);
    return packet;
}

bool IsRead(std::span<const std::byte> command) {
    return ByteOrder::LoadLittle16(&command[6]) == kReadMemoryCommand;
}

bool ParseAck(std::span<const std::byte> bytes, Ack& ack) {
    if (bytes.size() < kHeaderLength || ByteOrder::LoadLittle32(&bytes[0]) != kMagic) {
        return false;
    }
    const std::size_t length = ByteOrder::LoadLittle16(&bytes[8]);
    if (length > bytes.size() - kHeaderLength) {
        return false;
    }
    ack.status = ByteOrder::LoadLittle16(&bytes[4]);
    ack.command = ByteOrder::LoadLittle16(&bytes[6]);
    ack.id = ByteOrder::LoadLittle16(&bytes[10]);
    ack.payload = bytes.subspan(kHeaderLength, length);
    return true;
}

std::string DescribeStatus(std::uint16_t status) {
    struct Name {
        std::uint16_t status;
        const char* text;
    };
    static constexpr std::array<Name, 17> kNames{{{0x8001, "NOT_IMPLEMENTED"},
                                                  {0x8002, "INVALID_PARAMETER"},
                                                  {0x8003, "INVALID_ADDRESS"},
                                                  {0x8004, "WRITE_PROTECT"},
                                                  {0x8005, "BAD_ALIGNMENT"},
                                                  {0x8006, "ACCESS_DENIED"},
                                                  {0x8007, "BUSY"},
                                                  {0x800B, "MSG_TIMEOUT"},
                                                  {0x800E, "INVALID_HEADER"},
                                                  {0x800F, "WRONG_CONFIG"},
                                                  {0x8FFF, "GENERIC_ERROR"},
                                                  {0xA001, "RESEND_NOT_SUPPORTED"},
                                                  {0xA002, "DSI_ENDPOINT_HALTED"},
                                                  {0xA003, "SI_PAYLOAD_SIZE_NOT_ALIGNED"},
                                                  {0xA004, "SI_REGISTERS_INCONSISTENT"},
                                                  {0xA100, "DATA_DISCARDED"},
                                                  {0xA101, "DATA_OVERRUN"}}};
    const std::string number = Hexadecimal(status, 4);
    const auto* known = std::find_if(kNames.begin(), kNames.end(),
                                     [&](const Name& name) { return name.status == status; });
    return known == kNames.end() ? number : std::string(known->text) + " " + number;
}

}  // namespace U3vPackets
