#pragma once

#include <memory>

#include <NxSystem/NxInterface.h>

/// One IPv4 address of a network interface that is up, loopback included.
class NX_API NxNetworkAdapter : public NxInterface {
  public:
    explicit NxNetworkAdapter(std::unique_ptr<Impl> impl);
    ~NxNetworkAdapter() override;

    /// Six hexadecimal pairs joined by ':', lower case; loopback has 00:00:00:00:00:00.
    [[nodiscard]] NxString GetMACAddress() const;
    /// Dotted decimal.
    [[nodiscard]] NxString GetIPAddress() const;
};
