#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TftpPacket.h"

/// What client and server agree on for one transfer. The defaults are those of RFC 1350.
struct TftpOptions {
    static constexpr unsigned int kPlainBlockSize = 512;
    static constexpr unsigned int kSmallestBlockSize = 8;     ///< RFC 2348
    static constexpr unsigned int kLargestBlockSize = 65464;  ///< RFC 2348

    unsigned int blockSize = kPlainBlockSize;   ///< bytes of data in a block
    unsigned int windowSize = 1;                ///< blocks that one ACK answers (RFC 7440)
    unsigned int timeout = 0;                   ///< the server's time-out, seconds; 0: its own
    std::optional<std::uint64_t> transferSize;  ///< bytes (RFC 2349)

    /// The options that a request must carry to ask for these values.
    [[nodiscard]] std::vector<TftpOption> ToRequest() const;
    /// Checks what a server granted when these values were asked for.
    /// @param agreed receives what holds then
    /// @return what is wrong with the answer, `agreed` then untouched; empty when nothing is
    [[nodiscard]] std::string Agree(const TftpPacket& optionAck, TftpOptions& agreed) const;

  private:
    [[nodiscard]] bool AsksFor(std::string_view option) const;
};
