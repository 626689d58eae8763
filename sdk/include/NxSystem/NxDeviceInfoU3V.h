#pragma once

#include <memory>

#include <NxSystem/NxDeviceInfo.h>

/// A device that speaks USB3 Vision (type 2).
class NX_API NxDeviceInfoU3V : public NxDeviceInfo {
  public:
    explicit NxDeviceInfoU3V(std::unique_ptr<Impl> impl);
    ~NxDeviceInfoU3V() override;
};
