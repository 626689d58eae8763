#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxString.h>

/// What discovery found out about one device. Owned by the NxSystem whose Find found it.
class NX_API NxDeviceInfo {
  public:
    class Impl;

    virtual ~NxDeviceInfo();
    NxDeviceInfo(const NxDeviceInfo&) = delete;
    NxDeviceInfo& operator=(const NxDeviceInfo&) = delete;

    [[nodiscard]] NxString GetModelName() const;
    /// Names the device and the path to it: "192.168.1.20%eth1" or "u3v:" and the device's GUID.
    [[nodiscard]] NxString GetConnectionID() const;
    /// 0 GigE Vision, 1 the maker's own protocol, 2 USB3 Vision.
    [[nodiscard]] unsigned int GetType() const;

    [[nodiscard]] NxString GetVendorName() const;
    [[nodiscard]] NxString GetSerialNumber() const;
    [[nodiscard]] NxString GetUserDefinedName() const;
    [[nodiscard]] NxString GetDeviceVersion() const;
    /// Dotted decimal; empty for a USB3 Vision device.
    [[nodiscard]] NxString GetIPAddress() const;
    /// Six hexadecimal pairs joined by ':'; empty for a USB3 Vision device.
    [[nodiscard]] NxString GetMACAddress() const;
    /// As the device reports it, dotted decimal; empty for a USB3 Vision device.
    [[nodiscard]] NxString GetSubnetMask() const;
    /// As the device reports it, "0.0.0.0" for none; empty for a USB3 Vision device.
    [[nodiscard]] NxString GetGateway() const;

    /// Whether a program can work with the device now.
    enum class Access {
        kUnknown,      ///< not asked, or a boot loader, which cannot be asked
        kFree,         ///< nothing is in the way
        kInUse,        ///< another program controls it
        kDenied,       ///< the system does not let this user open it
        kNoReply,      ///< it answers discovery, but not commands
        kOtherSubnet,  ///< its address is outside its interface's subnets
    };
    /// kUnknown unless NxSystem::FindAll found the device.
    [[nodiscard]] Access GetAccess() const;
    /// What is in the way, one line; empty for kUnknown and kFree.
    [[nodiscard]] NxString GetAccessReason() const;

  protected:
    explicit NxDeviceInfo(std::unique_ptr<Impl> impl);

  private:
    std::unique_ptr<Impl> mImpl;
};
