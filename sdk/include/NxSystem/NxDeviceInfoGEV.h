#pragma once

#include <memory>

#include <NxSystem/NxDeviceInfo.h>

/// A device that speaks GigE Vision (type 0).
class NX_API NxDeviceInfoGEV : public NxDeviceInfo {
  public:
    explicit NxDeviceInfoGEV(std::unique_ptr<Impl> impl);
    ~NxDeviceInfoGEV() override;
};
