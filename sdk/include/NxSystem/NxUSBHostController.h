#pragma once

#include <memory>

#include <NxSystem/NxInterface.h>

/// One USB host controller, with all of its buses.
class NX_API NxUSBHostController : public NxInterface {
  public:
    explicit NxUSBHostController(std::unique_ptr<Impl> impl);
    ~NxUSBHostController() override;
};
