#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "FaultyLine.h"
#include "simulator/device/DeviceService.h"
#include "simulator/gvcp/ControlPrivilege.h"

namespace simulator {

/// A UDP socket that hears and speaks on one interface only.
class BoundSocket {
  public:
    BoundSocket() = default;
    ~BoundSocket();
    BoundSocket(BoundSocket&& other) noexcept;
    BoundSocket& operator=(BoundSocket&& other) noexcept;

    /// @param address host byte order, of this host or a broadcast address
    /// @param shared whether other sockets may have the same address, as for broadcasts
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] bool Open(const std::string& interfaceName, std::uint32_t address,
                            std::uint16_t port, bool shared, std::string& why);

    [[nodiscard]] int Descriptor() const { return mDescriptor; }
    /// The next datagram that is there; nothing when none is.
    [[nodiscard]] std::optional<Datagram> Receive() const;
    /// As with any datagram, nobody knows whether it arrives.
    void Send(const Datagram& datagram) const;

  private:
    int mDescriptor = -1;
};

/// An interface's network that an address belongs to, host byte order.
struct Subnet {
    std::uint32_t mask = 0xffffff00U;
    std::uint32_t broadcast = 0xffffffffU;  ///< 0xffffffff: none of its own
};

/// Host byte order; 0 when it is no IPv4 address.
[[nodiscard]] std::uint32_t ParseAddress(const std::string& text);

[[nodiscard]] Subnet FindSubnet(const std::string& interfaceName, std::uint32_t address);

}  // namespace simulator
