#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Peer.h"

namespace simulator {

/// A UDP socket, non-blocking, that hears and speaks on one interface only.
class BoundSocket {
  public:
    BoundSocket() = default;
    ~BoundSocket();
    BoundSocket(BoundSocket&& other) noexcept;
    BoundSocket& operator=(BoundSocket&& other) noexcept;

    /// @param interfaceName bound to it with SO_BINDTODEVICE, unless empty
    /// @param address host byte order, of this host or a broadcast address
    /// @param port 0: one that the system chooses
    /// @param shared whether other sockets may have the same address, as for broadcasts
    /// @param[out] why one line, set when false is returned; errno says it as well
    [[nodiscard]] bool Open(const std::string& interfaceName, std::uint32_t address,
                            std::uint16_t port, bool shared, std::string& why);

    [[nodiscard]] int Descriptor() const { return mDescriptor; }
    [[nodiscard]] std::uint16_t Port() const;
    /// The receive buffer in bytes, as the kernel accounts for it.
    [[nodiscard]] unsigned int ReceiveBuffer() const;
    /// The next datagram that is there; nothing when none is.
    [[nodiscard]] std::optional<Datagram> Receive() const;
    /// Never blocks; a datagram that cannot be sent is lost, as on the wire.
    void Send(const Peer& to, std::span<const std::uint8_t> bytes) const;
    void Send(const Datagram& datagram) const { Send(datagram.peer, datagram.bytes); }

  private:
    int mDescriptor = -1;
};

/// An interface's network that an address belongs to, host byte order.
struct Subnet {
    std::uint32_t mask = 0xffffff00U;
    std::uint32_t broadcast = 0xffffffffU;  ///< 0xffffffff: none of its own
};

[[nodiscard]] Subnet FindSubnet(const std::string& interfaceName, std::uint32_t address);

}  // namespace simulator
