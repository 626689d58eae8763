#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include <NxBase/NxApi.h>

struct libusb_device;
class UsbContext;

/// What the descriptors of a USB3 Vision device say about its control interface, read without
/// opening the device (USB3 Vision 1.0, section 2 "Device Identification").
struct NX_API U3vDescriptor {
    std::uint8_t controlInterface = 0;  ///< bInterfaceNumber
    std::uint8_t inEndpoint = 0;        ///< bulk, acks
    std::uint8_t outEndpoint = 0;       ///< bulk, commands

    // Indices of string descriptors; 0: the device has no such text.
    std::uint8_t guid = 0;
    std::uint8_t vendor = 0;
    std::uint8_t model = 0;
    std::uint8_t version = 0;
    std::uint8_t serial = 0;
    std::uint8_t userName = 0;

    /// @return false, `descriptor` untouched, when it is no USB3 Vision device
    [[nodiscard]] static bool Find(libusb_device* device, U3vDescriptor& descriptor);
    /// The USB3 Vision devices among all, in their order.
    [[nodiscard]] static std::vector<std::pair<libusb_device*, U3vDescriptor>> FindAll(
        const UsbContext& usb);
};
