#pragma once

#include <chrono>
#include <cstdint>

namespace simulator {

/// What a TFTP server does with the options of a request (RFC 2347).
enum class TftpOptionPolicy {
    kGrant,   ///< as far as TftpSettings allows
    kIgnore,  ///< as a server that knows no options: plain ACK 0 or DATA 1
    kReject,  ///< ERROR 8 to every request that has options
};

/// How a TFTP server serves.
struct TftpSettings {
    std::uint16_t port = 69;  ///< 0: one that the system chooses
    TftpOptionPolicy optionPolicy = TftpOptionPolicy::kGrant;
    unsigned int maxBlockSize = 65464;  ///< bytes, RFC 2348; 0: not granted
    unsigned int maxWindowSize = 64;    ///< blocks, RFC 7440; 0: not granted
    bool grantTransferSize = true;      ///< RFC 2349, tsize
    bool grantTimeout = true;           ///< RFC 2349, timeout
    /// Whether a client that asks for the status while the flash is being written waits for the
    /// outcome, at most `maxHold`; else the reply says that the flash is being written.
    bool holdStatusWhileFlashing = true;
    std::uint16_t rollover = 0;  ///< block number after 65,535: 0 or 1

    /// From when a packet is to leave until it does; packets do not wait for each other.
    std::chrono::microseconds latency{0};

    std::chrono::milliseconds initialTimeout{1000};  ///< before a round trip was measured
    std::chrono::milliseconds minTimeout{100};
    std::chrono::milliseconds maxTimeout{4000};
    unsigned int maxRetries = 6;  ///< without any progress, then the transfer is over
    std::chrono::milliseconds maxSilence{30000};  ///< likewise, whatever time-out was negotiated
    std::chrono::milliseconds dally{1500};        ///< the last ACK is repeated as long as this
    std::chrono::milliseconds maxHold{5000};      ///< for a file that cannot be read yet
};

}  // namespace simulator
