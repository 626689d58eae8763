#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// Opcodes of RFC 1350, section 5, and RFC 2347.
enum class TftpOpcode : std::uint16_t {
    kReadRequest = 1,
    kWriteRequest = 2,
    kData = 3,
    kAck = 4,
    kError = 5,
    kOptionAck = 6,
};

/// Error codes of RFC 1350, appendix, and RFC 2347.
enum class TftpErrorCode : std::uint16_t {
    kNotDefined = 0,
    kFileNotFound = 1,
    kAccessViolation = 2,
    kDiskFull = 3,
    kIllegalOperation = 4,
    kUnknownTransferId = 5,
    kFileExists = 6,
    kNoSuchUser = 7,
    kOptionsRefused = 8,
};

struct TftpOption {
    std::string name;  ///< lower case; options are case-insensitive (RFC 2347)
    std::string value;

    bool operator==(const TftpOption&) const = default;
};

/// A packet from a server: DATA, ACK, ERROR or OACK.
struct TftpPacket {
    TftpOpcode opcode = TftpOpcode::kError;
    std::uint16_t number = 0;         ///< block of DATA and ACK; code of ERROR
    std::span<const std::byte> data;  ///< DATA; part of the datagram that was parsed
    std::string text;                 ///< ERROR: its message, as PrintableText makes it
    std::vector<TftpOption> options;  ///< OACK, in its order
    bool optionsValid = true;         ///< false when an OACK breaks the format of RFC 2347

    /// @return false, the packet then unspecified, when the datagram is none of the four
    static bool Parse(std::span<const std::byte> datagram, TftpPacket& packet);
};

/// The packets that a client sends.
namespace TftpEncoder {

using Header = std::array<std::byte, 4>;

/// A request in octet mode.
std::vector<std::byte> Request(TftpOpcode opcode, const std::string& fileName,
                               const std::vector<TftpOption>& options);
/// The bytes in front of a block's data.
Header DataHeader(std::uint16_t block);
Header Ack(std::uint16_t block);
std::vector<std::byte> Error(TftpErrorCode code, const std::string& message);

}  // namespace TftpEncoder
