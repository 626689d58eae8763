#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "simulator/tftp/protocol/TftpError.h"

namespace simulator {

/// Takes the bytes of one write transfer, in order. Destroyed before Finish: the transfer broke
/// off, and nothing of it counts.
class TftpSink {
  public:
    virtual ~TftpSink() = default;
    /// False when the bytes cannot be kept; the transfer then ends with "disk full".
    [[nodiscard]] virtual bool Write(std::span<const std::uint8_t> bytes) = 0;
    /// The last byte was written.
    virtual void Finish() = 0;
};

/// Gives the bytes of one read transfer, in order.
class TftpSource {
  public:
    virtual ~TftpSource() = default;
    /// Number of bytes in all.
    [[nodiscard]] virtual std::uint64_t Size() const = 0;
    /// Fills `into` as far as there are bytes left and returns their number.
    [[nodiscard]] virtual std::size_t Read(std::span<std::uint8_t> into) = 0;
};

/// The file cannot be opened right now; the server asks again shortly and lets the client wait.
struct TftpNotYet {};

/// The files that a TFTP server offers. Called from the server's thread only.
class TftpFiles {
  public:
    using ForWriting = std::variant<std::unique_ptr<TftpSink>, TftpError>;
    using ForReading = std::variant<std::unique_ptr<TftpSource>, TftpError, TftpNotYet>;

    virtual ~TftpFiles() = default;
    /// @param size number of bytes that the client announced, if it did (RFC 2349, tsize)
    [[nodiscard]] virtual ForWriting OpenForWriting(const std::string& name,
                                                    std::optional<std::uint64_t> size) = 0;
    [[nodiscard]] virtual ForReading OpenForReading(const std::string& name) = 0;
};

}  // namespace simulator
