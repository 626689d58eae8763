#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>

/// An IPv4 address and UDP port, both in host byte order.
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const Endpoint&) const = default;
};

/// What protocol code needs of a UDP socket. The real one is UdpSocket; tests script one.
class NX_API DatagramSocket {
  public:
    using Clock = std::chrono::steady_clock;

    virtual ~DatagramSocket();

    /// @return not OK when the system refuses the datagram; a datagram lost on its way is OK
    virtual NxResult Send(const Endpoint& to, std::span<const std::byte> datagram) = 0;
    /// Waits until the deadline for one datagram.
    /// @param length its size in bytes, cut to the buffer's; 0 datagrams are possible
    /// @param timedOut true, and OK returned, when none came by then
    virtual NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline,
                             std::size_t& length, Endpoint& from, bool& timedOut) = 0;
    /// The time that deadlines are measured in.
    [[nodiscard]] virtual Clock::time_point Now() const;
};
