#pragma once

#include <memory>

#include <NxSystem/NxInterface.h>

/// A network interface that is up and has an IPv4 address, loopback included.
class NX_API NxNetworkAdapter : public NxInterface {
  public:
    explicit NxNetworkAdapter(std::unique_ptr<Impl> impl);
    ~NxNetworkAdapter() override;

    /// Six hexadecimal pairs joined by ':', lower case; loopback has 00:00:00:00:00:00.
    [[nodiscard]] NxString GetMACAddress() const;
    /// Dotted decimal.
    [[nodiscard]] NxString GetIPAddress() const;
};
