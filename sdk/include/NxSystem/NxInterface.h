#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxString.h>

class NxDeviceInfo;

/// One network interface or USB controller of this computer, with the devices found on it. Owned by
/// NxSystem.
class NX_API NxInterface {
  public:
    class Impl;

    virtual ~NxInterface();
    NxInterface(const NxInterface&) = delete;
    NxInterface& operator=(const NxInterface&) = delete;

    /// The operating system's name: "eth1", or a USB host controller's "0000:00:14.0".
    [[nodiscard]] NxString GetName() const;
    [[nodiscard]] unsigned int GetDeviceCount() const;
    /// The device at that index, in the order in which they were found; null past the end.
    [[nodiscard]] const NxDeviceInfo* GetDeviceInfo(unsigned int index) const;

  protected:
    explicit NxInterface(std::unique_ptr<Impl> impl);
    [[nodiscard]] const Impl& GetImpl() const;

  private:
    std::unique_ptr<Impl> mImpl;
};
