#pragma once

#include <string>
#include <vector>

#include <NxBase/NxApi.h>

struct libusb_context;
struct libusb_device;

/// libusb, opened for one user, and the USB devices of this computer at that moment. Lists without
/// opening any device; prints nothing.
class NX_API UsbContext {
  public:
    UsbContext();
    ~UsbContext();
    UsbContext(const UsbContext&) = delete;
    UsbContext& operator=(const UsbContext&) = delete;

    /// Null when this computer has no USB.
    [[nodiscard]] libusb_context* Get() const { return mContext; }
    /// In the order of bus numbers, then of port paths, root hubs first; owned by this object.
    [[nodiscard]] const std::vector<libusb_device*>& GetDevices() const { return mDevices; }

    /// The kernel's name for where a device is plugged in: bus, then ports from the root hub
    /// outwards, "2-1.4"; a root hub is "usb2".
    [[nodiscard]] static std::string GetPlace(libusb_device* device);

  private:
    libusb_context* mContext = nullptr;
    libusb_device** mList = nullptr;
    std::vector<libusb_device*> mDevices;
};
