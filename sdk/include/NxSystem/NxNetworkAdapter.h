#pragma once

#include <memory>

#include <NxSystem/NxInterface.h>

/// A network interface that is up and has an IPv4 address, loopback included; after
/// NxSystem::FindAll, every Ethernet interface.
class NX_API NxNetworkAdapter : public NxInterface {
  public:
    explicit NxNetworkAdapter(std::unique_ptr<Impl> impl);
    ~NxNetworkAdapter() override;

    /// Six hexadecimal pairs joined by ':', lower case; loopback has 00:00:00:00:00:00.
    [[nodiscard]] NxString GetMACAddress() const;
    /// Dotted decimal; empty without an IPv4 address.
    [[nodiscard]] NxString GetIPAddress() const;
    /// Of that address, dotted decimal; empty without one.
    [[nodiscard]] NxString GetSubnetMask() const;

    enum class State { kUsable, kNoLink, kNoAddress, kDown };
    /// Whether devices can be reached through it. kUsable unless NxSystem::FindAll listed it.
    [[nodiscard]] State GetState() const;
    /// True if NxSystem::FindAll may have missed devices in other subnets here: the system may drop
    /// what they send (rp_filter), and this process may not read it from the interface
    /// (CAP_NET_RAW).
    [[nodiscard]] bool MissesOtherSubnets() const;
};
