#pragma once

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// Gives a GigE Vision device another address, whatever subnet it is in now.
class NX_API NxForceIp {
  public:
    /// Sends FORCEIP_CMD (GigE Vision 2.0, section 16.2) until it is acknowledged, for three
    /// seconds. The device keeps the address until it restarts. It ignores the command while a
    /// program controls it. The ack says that the device took the command; whether it can be
    /// reached at its new address, the next discovery tells.
    /// @param interfaceName "eth1"
    /// @param mac the device's, six hexadecimal pairs joined by ':'
    /// @param address,mask,gateway dotted decimal; gateway "0.0.0.0": none
    /// @return kNxInvalidArgument, kNxSocket, kNxTimeout, or kNxDeviceError if the device refused
    static NxResult Send(const NxString& interfaceName, const NxString& mac,
                         const NxString& address, const NxString& mask, const NxString& gateway);

    NxForceIp() = delete;
};
