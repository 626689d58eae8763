#pragma once

#include <chrono>
#include <string>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>

#include <internal/NxSystem/U3vDescriptor.h>

/// The texts that identify a USB3 Vision device, as UTF-8.
struct NX_API U3vIdentity {
    std::string place;  ///< where it is plugged in, "2-1.4"
    std::string guid;   ///< empty when the device could not be asked
    std::string vendor;
    std::string model;
    std::string version;
    std::string serial;
    std::string userName;

    /// What the system knows about the device, which is neither opened nor asked.
    static U3vIdentity FromSystem(libusb_device* device);
    /// Opens the device, reads its texts and closes it again; the interface is not claimed, so a
    /// program that works with the device is not disturbed.
    /// @param timeout for all texts together, the GUID first; those that do not come in
    /// time are left out
    /// @param identity when the device cannot be opened, what the system itself knows about it
    /// @return kNxAccessDenied, kNxDeviceGone, kNxTimeout or kNxProtocol
    static NxResult Read(libusb_device* device, const U3vDescriptor& descriptor,
                         std::chrono::milliseconds timeout, U3vIdentity& identity);

    /// Reads the GUID alone, which is enough to identify the device. Everything else is as
    /// for Read.
    static NxResult ReadGuid(libusb_device* device, const U3vDescriptor& descriptor,
                             std::chrono::milliseconds timeout, U3vIdentity& identity);

    /// What names the device in a connection ID: its GUID, or '@' and its place when it has none
    /// that could be read.
    [[nodiscard]] std::string GetName() const;
    /// "USB3 Vision device Model (GUID 123456789ABC) at USB port 2-1"
    [[nodiscard]] std::string Describe() const;
};

/// The udev rule file that gives users access to USB3 Vision devices.
inline constexpr const char* kU3vRuleFile = "70-mirsko-u3v.rules";

/// Why a device cannot be opened, for a service engineer.
/// @param error a libusb error code
NX_API NxResult DescribeU3vOpenFailure(const U3vIdentity& identity, int error);
