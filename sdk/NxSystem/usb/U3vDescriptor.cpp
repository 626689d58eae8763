#include <internal/NxSystem/U3vDescriptor.h>

#include <memory>
#include <span>

#include <libusb.h>

#include <internal/NxSystem/UsbContext.h>

namespace {

// Device class of devices with interface associations (USB-IF: EF/02/01).
constexpr std::uint8_t kMiscellaneousClass = 0xEF;
constexpr std::uint8_t kCommonSubclass = 0x02;
constexpr std::uint8_t kAssociationProtocol = 0x01;
// Interface subclass and protocol of USB3 Vision's device control.
constexpr std::uint8_t kUsb3VisionSubclass = 0x05;
constexpr std::uint8_t kControlProtocol = 0x00;

constexpr std::uint8_t kDeviceInfoType = 0x24;
constexpr std::uint8_t kDeviceInfoSubtype = 0x01;
constexpr std::size_t kDeviceInfoLength = 20;

struct FreeConfig {
    void operator()(libusb_config_descriptor* config) const {
        libusb_free_config_descriptor(config);
    }
};
using Config = std::unique_ptr<libusb_config_descriptor, FreeConfig>;

Config ReadConfig(libusb_device* device) {
    libusb_config_descriptor* config = nullptr;
    if (libusb_get_active_config_descriptor(device, &config) != LIBUSB_SUCCESS &&
        libusb_get_config_descriptor(device, 0, &config) != LIBUSB_SUCCESS) {
        return nullptr;
    }
    return Config(config);
}

bool FindDeviceInfo(const libusb_interface_descriptor& interface, U3vDescriptor& descriptor) {
    if (interface.extra == nullptr || interface.extra_length <= 0) {
        return false;
    }
    std::span<const std::uint8_t> rest(interface.extra,
                                       static_cast<std::size_t>(interface.extra_length));
    while (rest.size() >= 2 && rest[0] >= 2 && rest[0] <= rest.size()) {
        if (rest[0] >= kDeviceInfoLength && rest[1] == kDeviceInfoType &&
            rest[2] == kDeviceInfoSubtype) {
            descriptor.guid = rest[11];
            descriptor.vendor = rest[12];
            descriptor.model = rest[13];
            descriptor.version = rest[15];
            descriptor.serial = rest[17];
            descriptor.userName = rest[18];
            return true;
        }
        rest = rest.subspan(rest[0]);
    }
    return false;
}

bool FindEndpoints(const libusb_interface_descriptor& interface, U3vDescriptor& descriptor) {
    for (const libusb_endpoint_descriptor& endpoint :
         std::span(interface.endpoint, interface.bNumEndpoints)) {
        if ((endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) != LIBUSB_TRANSFER_TYPE_BULK) {
            continue;
        }
        const bool in = (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_DIR_MASK) != 0;
        (in ? descriptor.inEndpoint : descriptor.outEndpoint) = endpoint.bEndpointAddress;
    }
    return descriptor.inEndpoint != 0 && descriptor.outEndpoint != 0;
}

bool IsControlInterface(const libusb_interface_descriptor& interface) {
    return interface.bInterfaceClass == kMiscellaneousClass &&
           interface.bInterfaceSubClass == kUsb3VisionSubclass &&
           interface.bInterfaceProtocol == kControlProtocol;
}

}  // namespace

bool U3vDescriptor::Find(libusb_device* device, U3vDescriptor& descriptor) {
    libusb_device_descriptor header{};
    if (libusb_get_device_descriptor(device, &header) != LIBUSB_SUCCESS ||
        header.bDeviceClass != kMiscellaneousClass || header.bDeviceSubClass != kCommonSubclass ||
        header.bDeviceProtocol != kAssociationProtocol) {
        return false;
    }
    const Config config = ReadConfig(device);
    if (config == nullptr) {
        return false;
    }
    for (const libusb_interface& interface : std::span(config->interface, config->bNumInterfaces)) {
        U3vDescriptor found;
        if (interface.num_altsetting > 0 && IsControlInterface(interface.altsetting[0]) &&
            FindDeviceInfo(interface.altsetting[0], found) &&
            FindEndpoints(interface.altsetting[0], found)) {
            found.controlInterface = interface.altsetting[0].bInterfaceNumber;
            descriptor = found;
            return true;
        }
    }
    return false;
}

std::vector<std::pair<libusb_device*, U3vDescriptor>> U3vDescriptor::FindAll(
    const UsbContext& usb) {
    std::vector<std::pair<libusb_device*, U3vDescriptor>> found;
    for (libusb_device* device : usb.GetDevices()) {
        U3vDescriptor descriptor;
        if (Find(device, descriptor)) {
            found.emplace_back(device, descriptor);
        }
    }
    return found;
}
