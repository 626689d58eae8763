#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <umockdev.h>

#include "UsbfsNode.h"
#include "simulator/u3v/UsbFunction.h"

namespace simulator {

/// A computer's USB, made of files and sockets in a temporary folder: host controllers with a USB 2
/// and a USB 3 bus each, and what is plugged into them. Programs that are started with
/// UMOCKDEV_DIR and umockdev's preload library see it in the place of the real one.
///
/// No hot-plug events are sent: a program finds out when it lists the devices again or uses one.
/// Controller n has the buses 2n - 1 (USB 2) and 2n (USB 3). Used by one thread at a time.
class UsbTestBed {
  public:
    struct Plugged {
        std::string manufacturer;  ///< for sysfs; ASCII
        std::string product;
        std::string serial;
        UsbfsFaults faults;
        bool accessDenied = false;     ///< nobody may open its node
        std::function<void()> opened;  ///< called for every open() of its node
    };

    UsbTestBed();
    ~UsbTestBed();
    UsbTestBed(const UsbTestBed&) = delete;
    UsbTestBed& operator=(const UsbTestBed&) = delete;

    /// The folder, as UMOCKDEV_DIR names it.
    [[nodiscard]] std::string Folder() const;

    /// Adds the next host controller with its two root hubs.
    [[nodiscard]] bool AddController();
    /// Plugs something in, and a hub into each port on the way to it that is still empty.
    /// @param place bus and ports, "2-1.4"
    /// @param function outlives its being plugged in
    /// @return false when there is no such bus, the port is taken or the system refuses
    [[nodiscard]] bool PlugIn(const std::string& place, UsbFunction& function,
                              const Plugged& plugged);
    /// Takes it away again; programs that have it open get ENODEV.
    void Unplug(const std::string& place);

    /// True for a bus, a '-' and one to six numbers from 1 to 15 joined by '.'.
    [[nodiscard]] static bool IsPlace(const std::string& text);

  private:
    struct Device {
        std::string systemPath;
        std::unique_ptr<UsbFunction> own;  // hubs only
        std::unique_ptr<UsbfsNode> node;
    };

    bool Add(const std::string& name, const std::string& parentPath, unsigned int bus,
             UsbFunction& function, const Plugged& plugged);
    bool AddHub(const std::string& name, const std::string& parentPath, unsigned int bus);

    UMockdevTestbed* mBed;
    unsigned int mControllers = 0;
    std::map<unsigned int, unsigned int> mLastNumber;  // device number by bus
    std::map<std::string, Device> mDevices;            // by name: "usb2", "2-1.4"
    std::vector<Device> mUnplugged;                    // programs may still have them open
};

}  // namespace simulator
