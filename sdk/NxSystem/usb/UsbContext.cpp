#include <internal/NxSystem/UsbContext.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>

#include <libusb.h>

namespace {

// USB 3.0, section 8.9: at most seven tiers, so at most seven port numbers.
constexpr int kMaxPorts = 7;

std::vector<std::uint8_t> PortPath(libusb_device* device) {
    std::array<std::uint8_t, kMaxPorts> ports{};
    const int count = libusb_get_port_numbers(device, ports.data(), kMaxPorts);
    return {ports.begin(), ports.begin() + std::max(count, 0)};
}

bool IsBefore(libusb_device* left, libusb_device* right) {
    const std::uint8_t leftBus = libusb_get_bus_number(left);
    const std::uint8_t rightBus = libusb_get_bus_number(right);
    return leftBus != rightBus ? leftBus < rightBus : PortPath(left) < PortPath(right);
}

void LIBUSB_CALL DropLog(libusb_context* /*context*/, libusb_log_level /*level*/,
                         const char* /*text*/) {}

}  // namespace

UsbContext::UsbContext() {
    // The environment variable LIBUSB_DEBUG outdoes the level that is set below.
    static std::once_flag once;
    std::call_once(once, [] { libusb_set_log_cb(nullptr, DropLog, LIBUSB_LOG_CB_GLOBAL); });
    if (libusb_init(&mContext) != LIBUSB_SUCCESS) {
        mContext = nullptr;
        return;
    }
    (void)libusb_set_option(mContext, LIBUSB_OPTION_LOG_LEVEL, LIBUSB_LOG_LEVEL_NONE);
    const ssize_t count = libusb_get_device_list(mContext, &mList);
    if (count > 0) {
        mDevices.assign(mList, mList + count);
        std::stable_sort(mDevices.begin(), mDevices.end(), IsBefore);
    }
}

UsbContext::~UsbContext() {
    if (mList != nullptr) {
        libusb_free_device_list(mList, 1);
    }
    if (mContext != nullptr) {
        libusb_exit(mContext);
    }
}

std::string UsbContext::GetPlace(libusb_device* device) {
    const std::string bus = std::to_string(libusb_get_bus_number(device));
    const std::vector<std::uint8_t> ports = PortPath(device);
    if (ports.empty()) {
        return "usb" + bus;
    }
    std::string place = bus;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        place += (i == 0 ? "-" : ".") + std::to_string(ports[i]);
    }
    return place;
}
