#include "UsbDiscovery.h"

#include <algorithm>
#include <filesystem>

#include <libusb.h>

#include <internal/NxSystem/U3vTextTime.h>
#include <internal/NxSystem/UsbContext.h>

namespace {

struct Controller {
    std::string folder;  // in sysfs; what its USB 2 and its USB 3 bus have in common
    UsbController found;
};

std::string ControllerFolder(const std::string& bus) {
    std::error_code error;
    const auto hub = std::filesystem::canonical("/sys/bus/usb/devices/usb" + bus, error);
    return error ? "usb" + bus : hub.parent_path().string();
}

UsbController& ControllerOf(std::vector<Controller>& controllers, libusb_device* device) {
    const std::string folder = ControllerFolder(std::to_string(libusb_get_bus_number(device)));
    auto at = std::find_if(controllers.begin(), controllers.end(),
                           [&](const Controller& known) { return known.folder == folder; });
    if (at == controllers.end()) {
        Controller added;
        added.folder = folder;
        added.found.name = std::filesystem::path(folder).filename().string();
        at = controllers.insert(at, std::move(added));
    }
    return at->found;
}

}  // namespace

std::vector<UsbController> ListUsbControllers() {
    const UsbContext usb;
    std::vector<Controller> controllers;
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
    std::vector<UsbController> found;
    for (Controller& controller : controllers) {
        found.push_back(std::move(controller.found));
    }
    return found;
}
