#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "TftpError.h"

namespace simulator {

enum class TftpOpcode : std::uint16_t {
    kReadRequest = 1,
    kWriteRequest = 2,
    kData = 3,
    kAck = 4,
    kError = 5,
    kOptionAck = 6,
};

/// Option names (lower case) and values in the order of the packet.
using TftpOptionList = std::vector<std::pair<std::string, std::string>>;

/// One TFTP packet (RFC 1350, section 5; RFC 2347). Only the fields of its opcode are meaningful.
struct TftpPacket {
    using Bytes = std::vector<std::uint8_t>;

    TftpOpcode opcode = TftpOpcode::kError;
    std::string file;                    ///< requests
    std::string mode;                    ///< requests, lower case
    TftpOptionList options;              ///< requests and option acknowledgements
    std::uint16_t block = 0;             ///< DATA and ACK
    std::span<const std::uint8_t> data;  ///< DATA; points into the parsed datagram
    TftpError error;                     ///< ERROR

    /// Parses a datagram; empty if it is not a well-formed packet. Of an option that is named
    /// twice the first counts. The result refers to the datagram's bytes.
    [[nodiscard]] static std::optional<TftpPacket> Parse(std::span<const std::uint8_t> datagram);

    [[nodiscard]] static Bytes Request(TftpOpcode opcode, const std::string& file,
                                       const std::string& mode, const TftpOptionList& options);
    [[nodiscard]] static Bytes Data(std::uint16_t block, std::span<const std::uint8_t> data);
    [[nodiscard]] static Bytes Ack(std::uint16_t block);
    [[nodiscard]] static Bytes Error(const TftpError& error);
    [[nodiscard]] static Bytes OptionAck(const TftpOptionList& options);
};

}  // namespace simulator
