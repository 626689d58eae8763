#pragma once

#include <string>
#include <vector>

#include <internal/NxSystem/U3vIdentity.h>

/// One USB host controller, with all of its buses, and the USB3 Vision devices plugged into it.
struct UsbController {
    std::string folder;  ///< in sysfs; what its USB 2 and its USB 3 bus have in common
    std::string name;    ///< the system's name of it, "0000:00:14.0"
    std::vector<U3vIdentity> devices;
    /// Of each device, after ListAndTryUsbControllers: OK, or why it cannot be worked with.
    std::vector<NxResult> access = {};
};

/// Every USB host controller in the order of its first bus, with its devices in the order of bus
/// and port path. Opens USB3 Vision devices only, for 0.8 seconds in all; one whose
/// GUID is not read in time is listed by its place. Prints nothing.
std::vector<UsbController> ListUsbControllers();

/// As ListUsbControllers; asks devices whose texts came too late once more, for five seconds in
/// all, and claims the control interface of each for a moment.
std::vector<UsbController> ListAndTryUsbControllers();
