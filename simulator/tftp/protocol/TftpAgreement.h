#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <variant>

#include "TftpError.h"
#include "TftpPacket.h"
#include "TftpSettings.h"

namespace simulator {

/// The terms of one transfer after its request's options were looked at (RFC 2347, 2348, 2349,
/// 7440). Options with values out of their range are treated as not requested.
struct TftpAgreement {
    unsigned int blockSize = 512;                 ///< bytes
    unsigned int windowSize = 1;                  ///< blocks
    std::optional<std::chrono::seconds> timeout;  ///< before a repetition
    TftpOptionList granted;                       ///< for the OACK; empty: plain RFC 1350

    /// @param fileSize the size of the file to be read; empty for a write request
    /// @param receiveBuffer bytes that a window with its overhead must fit into
    [[nodiscard]] static std::variant<TftpAgreement, TftpError> Negotiate(
        const TftpOptionList& requested, const TftpSettings& settings,
        std::optional<std::uint64_t> fileSize, unsigned int receiveBuffer);

    /// A write request's announced size in bytes (tsize).
    [[nodiscard]] static std::optional<std::uint64_t> AnnouncedSize(const TftpOptionList& options);
};

}  // namespace simulator
