#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace simulator {

/// An IPv4 address and UDP port, both in host byte order.
struct TftpEndpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const TftpEndpoint&) const = default;
    [[nodiscard]] std::string Text() const;
    /// @param address dotted, e.g. "192.168.1.20"
    [[nodiscard]] static std::optional<TftpEndpoint> Parse(const std::string& address,
                                                           std::uint16_t port);
};

}  // namespace simulator
