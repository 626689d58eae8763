#include "UsbDiscovery.h"

#include <algorithm>
#include <filesystem>

#include <libusb.h>

#include <internal/NxSystem/U3vTextTime.h>
#include <internal/NxSystem/UsbContext.h>

namespace {

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

}  // namespace

std::vector<UsbController> ListUsbControllers() {
    const UsbContext usb;
    std::vector<UsbController> controllers;
    for (libusb_device* device : usb.GetDevices()) {
        (void)ControllerOf(controllers, device);
    }
    const auto cameras = U3vDescriptor::FindAll(usb);
    U3vTextTime time(cameras.size());
    for (const auto& [device, descriptor] : cameras) {
        U3vIdentity identity;
        // A device that cannot be opened is listed too: connecting to it then says why.
        (void)U3vIdentity::Read(device, descriptor, time.TakeShare(), identity);
        ControllerOf(controllers, device).devices.push_back(std::move(identity));
    }
    return controllers;
}
