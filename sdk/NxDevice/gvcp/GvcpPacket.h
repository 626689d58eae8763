#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// The control protocol's packets as bytes (GigE Vision 2.0, sections 15 and 16 "GVCP").
namespace GvcpPacket {

inline constexpr std::uint16_t kPort = 3956;
/// Most bytes of one READMEM or WRITEMEM; always a multiple of four.
inline constexpr std::size_t kLargestBlock = 536;
/// Most registers of one READREG, and address-value pairs of one WRITEREG.
inline constexpr std::size_t kMostReadRegisters = 135;
inline constexpr std::size_t kMostWriteRegisters = 67;
/// Larger than every datagram of the protocol.
inline constexpr std::size_t kLargestDatagram = 576;

/// Codes of commands; an ack has its command's code plus one.
enum class Command : std::uint16_t {
    kReadRegister = 0x0080,
    kWriteRegister = 0x0082,
    kReadMemory = 0x0084,
    kWriteMemory = 0x0086,
};
inline constexpr std::uint16_t kPendingAck = 0x0089;

inline constexpr std::uint16_t kStatusSuccess = 0x0000;
inline constexpr std::uint16_t kStatusNotImplemented = 0x8001;
inline constexpr std::uint16_t kStatusAccessDenied = 0x8006;
inline constexpr std::uint16_t kStatusBusy = 0x8007;

struct RegisterValue {
    std::uint32_t address = 0;
    std::uint32_t value = 0;
};

/// An ack; `payload` points into the datagram.
struct Ack {
    std::uint16_t status = 0;
    std::uint16_t code = 0;
    std::uint16_t id = 0;
    std::span<const std::byte> payload;
};

// Commands that ask for an ack, with the request id 0 until SetId.
std::vector<std::byte> ReadRegisters(std::span<const std::uint32_t> addresses);
std::vector<std::byte> WriteRegisters(std::span<const RegisterValue> registers);
/// @param count bytes, a multiple of four, at most kLargestBlock
std::vector<std::byte> ReadMemory(std::uint32_t address, std::size_t count);
/// @param data at most kLargestBlock bytes; padded with zeros to a multiple of four
std::vector<std::byte> WriteMemory(std::uint32_t address, std::span<const std::byte> data);
void SetId(std::vector<std::byte>& command, std::uint16_t id);

/// The ack in a datagram; nothing if it is not one or its length field is wrong.
std::optional<Ack> ParseAck(std::span<const std::byte> datagram);
/// The time that a PENDING_ACK announces, in milliseconds; 0 when it carries none.
std::uint16_t PendingMilliseconds(const Ack& ack);

/// "WRITEMEM"
std::string CommandName(Command command);
/// "ACCESS_DENIED 0x8006"
std::string StatusName(std::uint16_t status);

}  // namespace GvcpPacket
