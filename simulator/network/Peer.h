#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulator {

/// An IPv4 address and UDP port, both in host byte order.
struct Peer {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    // clang-tidy 14 takes the zero that a defaulted <=> compares with for a pointer.
    auto operator<=>(const Peer&) const = default;  // NOLINT(modernize-use-nullptr)
    /// E.g. "192.168.1.20:3956".
    [[nodiscard]] std::string Text() const;
};

/// A datagram and who is at its other end.
struct Datagram {
    Peer peer;
    std::vector<std::uint8_t> bytes;
    bool operator==(const Datagram&) const = default;
};

/// @param text dotted, e.g. "192.168.1.20"
/// @return host byte order; nothing when it is not an IPv4 address
[[nodiscard]] std::optional<std::uint32_t> ParseAddress(const std::string& text);
/// "192.168.1.20" of host byte order.
[[nodiscard]] std::string FormatAddress(std::uint32_t address);

}  // namespace simulator
