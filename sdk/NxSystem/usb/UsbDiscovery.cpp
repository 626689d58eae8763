#include "UsbDiscovery.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

#include <libusb.h>

#include <NxBase/NxResultCodes.h>

#include <internal/NxSystem/U3vTextTime.h>
#include <internal/NxSystem/UsbContext.h>

namespace {

constexpr std::chrono::milliseconds kExtraTime{5000};

std::string ControllerFolder(const std::string& bus) {
    std::error_code error;
    const auto hub = std::filesystem::canonical("/sys/bus/usb/devices/usb" + bus, error);
    return error ? "usb" + bus : hub.parent_path().string();
}

UsbController& ControllerOf(std::vector<UsbController>& controllers, libusb_device* device) {
    const std::string folder = ControllerFolder(std::to_string(libusb_get_bus_number(device)));
    const auto known = std::ranges::find(controllers, folder, &UsbController::folder);
    return known != controllers.end()
               ? *known
               : controllers.emplace_back(
                     UsbController{folder, std::filesystem::path(folder).filename().string(), {}});
}

// A device may answer too late once, for instance while it starts.
NxResult ReadPatiently(libusb_device* device, const U3vDescriptor& descriptor,
                       U3vTextTime& extraTime, U3vIdentity& identity) {
    U3vIdentity again;
    const NxResult result = U3vIdentity::Read(device, descriptor, extraTime.TakeShare(), again);
    // What came the first time and not now is kept.
    if (result.IsOK() || identity.guid.empty()) {
        identity = std::move(again);
    }
    return result;
}

NxResult TryToClaim(libusb_device* device, const U3vDescriptor& descriptor,
                    const U3vIdentity& identity) {
    libusb_device_handle* opened = nullptr;
    int error = libusb_open(device, &opened);
    if (error == LIBUSB_SUCCESS) {
        error = libusb_claim_interface(opened, descriptor.controlInterface);
        if (error == LIBUSB_SUCCESS) {
            (void)libusb_release_interface(opened, descriptor.controlInterface);
        }
        libusb_close(opened);
    }
    return error == LIBUSB_SUCCESS ? NxResult() : DescribeU3vOpenFailure(identity, error);
}

std::vector<UsbController> List(bool tries) {
    const UsbContext usb;
    std::vector<UsbController> controllers;
    for (libusb_device* device : usb.GetDevices()) {
        (void)ControllerOf(controllers, device);
    }
    const auto cameras = U3vDescriptor::FindAll(usb);
    U3vTextTime time(cameras.size());
    std::vector<std::pair<U3vIdentity, NxResult>> read;
    for (const auto& [device, descriptor] : cameras) {
        U3vIdentity identity;
        // A device that cannot be opened is listed too: connecting to it then says why.
        NxResult result = U3vIdentity::Read(device, descriptor, time.TakeShare(), identity);
        read.emplace_back(std::move(identity), std::move(result));
    }
    U3vTextTime extraTime(cameras.size(), kExtraTime);
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        const auto& [device, descriptor] = cameras[i];
        auto& [identity, result] = read[i];
        UsbController& controller = ControllerOf(controllers, device);
        if (tries) {
            if (result.GetCode() == kNxTimeout) {
                result = ReadPatiently(device, descriptor, extraTime, identity);
            }
            if (result.IsOK()) {
                result = TryToClaim(device, descriptor, identity);
            }
            controller.access.push_back(std::move(result));
        }
        controller.devices.push_back(std::move(identity));
    }
    return controllers;
}

}  // namespace

std::vector<UsbController> ListUsbControllers() {
    return List(false);
}

std::vector<UsbController> ListAndTryUsbControllers() {
    return List(true);
}
