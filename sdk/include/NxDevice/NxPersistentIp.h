#pragma once

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// The address that a GigE Vision device takes at every power-on (GigE Vision 2.0, section 27).
class NX_API NxPersistentIp {
  public:
    /// Takes control of the device, stores the address, enables it, and reads both back. The device
    /// takes the address when it restarts; its address now stays.
    /// @param connectionID as NxDeviceInfo::GetConnectionID gives it
    /// @param address,mask,gateway dotted decimal; gateway "0.0.0.0": none
    /// @return as NxDevice::CreateAndConnect; kNxNotSupported if the device has no persistent
    ///         address, kNxDeviceError if it did not store what was written
    static NxResult Store(const NxString& connectionID, const NxString& address,
                          const NxString& mask, const NxString& gateway);
    /// The device gets its address by DHCP or chooses a link-local one from its next start on.
    static NxResult Disable(const NxString& connectionID);

    NxPersistentIp() = delete;
};
