#pragma once

#include <memory>

#include <NxSystem/NxDeviceInfo.h>

/// A device in its boot loader (type 1): it answers GigE Vision discovery, but has no GenICam and
/// no control channel, and takes firmware by TFTP only.
class NX_API NxDeviceInfoMirskoProtocol : public NxDeviceInfo {
  public:
    explicit NxDeviceInfoMirskoProtocol(std::unique_ptr<Impl> impl);
    ~NxDeviceInfoMirskoProtocol() override;
};
