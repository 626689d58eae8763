#include "UsbTestBed.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <utility>

#include <sys/stat.h>

#include "simulator/u3v/UsbDescriptors.h"

namespace simulator {

namespace {

std::string Hexadecimal(const std::vector<std::uint8_t>& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        std::array<char, 3> digits{};
        (void)std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(byte));
        text += digits.data();
    }
    return text;
}

std::string NodePath(unsigned int bus, unsigned int number) {
    std::array<char, 32> path{};
    (void)std::snprintf(path.data(), path.size(), "/dev/bus/usb/%03u/%03u", bus, number);
    return path.data();
}

std::string ControllerPath(unsigned int controller) {
    std::array<char, 48> path{};
    (void)std::snprintf(path.data(), path.size(), "/devices/pci0000:00/0000:%02x:00.0", controller);
    return path.data();
}

bool IsSuperSpeed(unsigned int bus) {
    return bus % 2 == 0;
}

}  // namespace

UsbTestBed::UsbTestBed() {
    // The bed's sockets have long names below this folder, and a socket's name holds 107 bytes.
    (void)setenv("TMPDIR", "/tmp", 1);
    mBed = umockdev_testbed_new();
}

UsbTestBed::~UsbTestBed() {
    mDevices.clear();
    mUnplugged.clear();
    g_object_unref(mBed);
}

std::string UsbTestBed::Folder() const {
    gchar* root = umockdev_testbed_get_root_dir(mBed);
    std::string folder = root;
    g_free(root);
    return folder;
}

bool UsbTestBed::AddController() {
    ++mControllers;
    const std::string path = ControllerPath(mControllers);
    for (const unsigned int bus : {2 * mControllers - 1, 2 * mControllers}) {
        if (!AddHub("usb" + std::to_string(bus), path, bus)) {
            return false;
        }
    }
    return true;
}

bool UsbTestBed::PlugIn(const std::string& place, UsbFunction& function, const Plugged& plugged) {
    if (!IsPlace(place) || mDevices.count(place) != 0) {
        return false;
    }
    const std::size_t dash = place.find('-');
    const auto bus = static_cast<unsigned int>(std::stoul(place.substr(0, dash)));
    const auto root = mDevices.find("usb" + std::to_string(bus));
    if (root == mDevices.end()) {
        return false;
    }
    std::string parent = root->second.systemPath;
    for (std::size_t dot = place.find('.', dash); dot != std::string::npos;
         dot = place.find('.', dot + 1)) {
        const std::string hub = place.substr(0, dot);
        if (mDevices.count(hub) == 0 && !AddHub(hub, parent, bus)) {
            return false;
        }
        parent = mDevices.at(hub).systemPath;
    }
    return Add(place, parent, bus, function, plugged);
}

void UsbTestBed::Unplug(const std::string& place) {
    const auto device = mDevices.find(place);
    if (device == mDevices.end()) {
        return;
    }
    device->second.node->Wake();
    umockdev_testbed_remove_device(mBed, device->second.systemPath.c_str());
    mUnplugged.push_back(std::move(device->second));
    mDevices.erase(device);
}

bool UsbTestBed::IsPlace(const std::string& text) {
    static const std::regex kPlace("[1-9][0-9]?-([1-9]|1[0-5])(\\.([1-9]|1[0-5])){0,5}");
    return std::regex_match(text, kPlace);
}

bool UsbTestBed::AddHub(const std::string& name, const std::string& parentPath, unsigned int bus) {
    auto hub = std::make_unique<PassiveUsbFunction>(HubDescriptors(IsSuperSpeed(bus)));
    UsbFunction& function = *hub;
    if (!Add(name, parentPath, bus, function, {"", "", "", {}, false, [] {}})) {
        return false;
    }
    mDevices.at(name).own = std::move(hub);
    return true;
}

bool UsbTestBed::Add(const std::string& name, const std::string& parentPath, unsigned int bus,
                     UsbFunction& function, const Plugged& plugged) {
    const unsigned int number = ++mLastNumber[bus];
    const std::string node = NodePath(bus, number);
    const std::string path = parentPath.substr(parentPath.find("/devices")) + "/" + name;
    const std::string description =
        "P: " + path + "\nN: " + node.substr(5) + "=00\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device" +
        "\nE: DEVNAME=" + node + "\nE: BUSNUM=" + node.substr(13, 3) +
        "\nE: DEVNUM=" + node.substr(17) + "\nA: busnum=" + std::to_string(bus) +
        "\\n\nA: devnum=" + std::to_string(number) +
        "\\n\nA: speed=" + (IsSuperSpeed(bus) ? "5000" : "480") +
        "\\n\nA: bConfigurationValue=1\\n\nH: descriptors=" + Hexadecimal(function.Descriptors()) +
        "\n";
    GError* error = nullptr;
    if (umockdev_testbed_add_from_string(mBed, description.c_str(), &error) == FALSE) {
        g_clear_error(&error);
        return false;
    }
    const std::string systemPath = "/sys" + path;
    const std::pair<const char*, const std::string&> texts[] = {
        {"manufacturer", plugged.manufacturer},
        {"product", plugged.product},
        {"serial", plugged.serial}};
    for (const auto& [attribute, text] : texts) {
        if (!text.empty()) {
            umockdev_testbed_set_attribute(mBed, systemPath.c_str(), attribute,
                                           (text + "\n").c_str());
        }
    }
    Device device;
    device.systemPath = systemPath;
    device.node = std::make_unique<UsbfsNode>(function, plugged.faults, plugged.opened);
    if (!device.node->Attach(mBed, node)) {
        return false;
    }
    if (plugged.accessDenied && chmod((Folder() + node).c_str(), 0) != 0) {
        return false;
    }
    mDevices[name] = std::move(device);
    return true;
}

}  // namespace simulator
