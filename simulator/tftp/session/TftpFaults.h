#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "simulator/network/DatagramFaults.h"

namespace simulator {

/// What a faulty server answers to a request first.
enum class TftpFirstAnswer {
    kRegular,
    kError,                  ///< ERROR 0
    kBlockSizeAboveRequest,  ///< OACK with a larger blksize than the client asked for
    kBlockSizeTooSmall,      ///< OACK with blksize 7, below RFC 2348's range
    kWindowSizeZero,         ///< OACK with windowsize 0, below RFC 7440's range
    kUnrequestedOption,      ///< OACK with an option that the client did not ask for
    kGarbage,                ///< OACK whose values are not numbers
};

/// What goes wrong with a device's TFTP.
struct TftpFaults {
    /// In each direction. With the same seed the n-th datagram of a transfer in one direction
    /// always meets the same fate.
    DatagramFaults datagrams{.delay = std::chrono::milliseconds(30)};

    TftpFirstAnswer firstAnswer = TftpFirstAnswer::kRegular;
    bool mute = false;                          ///< no request is ever answered
    bool foreignPort = false;                   ///< forged packets come from another port too
    unsigned int lostLastAcks = 0;              ///< the first so many ACKs of a last block vanish
    std::optional<std::uint64_t> silentAtByte;  ///< says nothing more once it has so many bytes
    std::optional<std::uint64_t> errorAtByte;   ///< ERROR 3 once it has so many bytes
    std::optional<std::uint64_t> statusSize;    ///< the status text is filled up to so many bytes
};

}  // namespace simulator
