#include "FakeUsb.h"

#include <algorithm>
#include <array>

struct libusb_device_handle {
    libusb_device* device;
};

namespace {

FakeUsb* fake = nullptr;

// The control interface of a USB3 Vision device; its texts are numbered as in libusb_device.
constexpr std::array<unsigned char, 20> kDeviceInfo{20, 0x24, 1, 0, 0, 0, 0, 0, 0, 0,
                                                    0,  1,    2, 3, 0, 4, 0, 5, 6, 0};

std::array<libusb_endpoint_descriptor, 2> MakeEndpoints() {
    std::array<libusb_endpoint_descriptor, 2> endpoints{};
    endpoints[0].bEndpointAddress = 0x81;
    endpoints[1].bEndpointAddress = 0x01;
    for (libusb_endpoint_descriptor& endpoint : endpoints) {
        endpoint.bmAttributes = LIBUSB_TRANSFER_TYPE_BULK;
    }
    return endpoints;
}

libusb_config_descriptor* GetConfig() {
    static const auto endpoints = MakeEndpoints();
    static libusb_interface_descriptor control{};
    control.bInterfaceClass = 0xEF;
    control.bInterfaceSubClass = 0x05;
    control.bNumEndpoints = static_cast<std::uint8_t>(endpoints.size());
    control.endpoint = endpoints.data();
    control.extra = kDeviceInfo.data();
    control.extra_length = static_cast<int>(kDeviceInfo.size());
    static const libusb_interface interface { &control, 1 };
    static libusb_config_descriptor config{};
    config.bNumInterfaces = 1;
    config.interface = &interface;
    return &config;
}

}  // namespace

FakeUsb::FakeUsb() {
    fake = this;
}

FakeUsb::~FakeUsb() {
    fake = nullptr;
}

bool FakeUsb::Await(libusb_device& device, std::chrono::milliseconds timeout) {
    timeouts.push_back(timeout);
    if (device.late > 0) {
        --device.late;
        clock.Pass(timeout);
        return false;
    }
    clock.Pass(std::min(device.delay, timeout));
    return device.delay < timeout;
}

// In the place of libusb's own, which the libraries would call otherwise.
extern "C" {
[[gnu::visibility("default")]] int LIBUSB_CALL libusb_init(libusb_context** /*context*/) {
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] void LIBUSB_CALL libusb_exit(libusb_context* /*context*/) {}
[[gnu::visibility("default")]] int libusb_set_option(libusb_context* /*context*/,
                                                     libusb_option /*option*/, ...) {
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] ssize_t LIBUSB_CALL
libusb_get_device_list(libusb_context* /*context*/, libusb_device*** list) {
    *list = new libusb_device* [fake->devices.size() + 1] {};
    std::transform(fake->devices.begin(), fake->devices.end(), *list,
                   [](libusb_device& device) { return &device; });
    return static_cast<ssize_t>(fake->devices.size());
}
[[gnu::visibility("default")]] void LIBUSB_CALL libusb_free_device_list(libusb_device** list,
                                                                        int /*unreference*/) {
    delete[] list;
}
[[gnu::visibility("default")]] std::uint8_t LIBUSB_CALL
libusb_get_bus_number(libusb_device* /*device*/) {
    return 250;
}
[[gnu::visibility("default")]] int LIBUSB_CALL libusb_get_port_numbers(libusb_device* device,
                                                                       std::uint8_t* ports,
                                                                       int /*count*/) {
    ports[0] = device->port;
    return 1;
}
[[gnu::visibility("default")]] int LIBUSB_CALL
libusb_get_device_descriptor(libusb_device* /*device*/, libusb_device_descriptor* descriptor) {
    *descriptor = {};
    descriptor->bDeviceClass = 0xEF;
    descriptor->bDeviceSubClass = 0x02;
    descriptor->bDeviceProtocol = 0x01;
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] int LIBUSB_CALL
libusb_get_active_config_descriptor(libusb_device* /*device*/, libusb_config_descriptor** config) {
    *config = GetConfig();
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] void LIBUSB_CALL
libusb_free_config_descriptor(libusb_config_descriptor* /*config*/) {}
[[gnu::visibility("default")]] int LIBUSB_CALL libusb_open(libusb_device* device,
                                                           libusb_device_handle** handle) {
    *handle = new libusb_device_handle{device};
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] void LIBUSB_CALL libusb_close(libusb_device_handle* handle) {
    delete handle;
}
[[gnu::visibility("default")]] int LIBUSB_CALL
libusb_claim_interface(libusb_device_handle* /*handle*/, int /*interface*/) {
    return LIBUSB_ERROR_BUSY;
}
[[gnu::visibility("default")]] int LIBUSB_CALL
libusb_control_transfer(libusb_device_handle* handle, std::uint8_t /*type*/,
                        std::uint8_t /*request*/, std::uint16_t value, std::uint16_t index,
                        unsigned char* data, std::uint16_t length, unsigned int timeout) {
    if (!fake->Await(*handle->device, std::chrono::milliseconds(timeout))) {
        return LIBUSB_ERROR_TIMEOUT;
    }
    const auto number = static_cast<std::uint8_t>(value & 0xFF);
    const char16_t language = handle->device->language;
    if (number != 0 && index != language) {
        return LIBUSB_ERROR_PIPE;
    }
    const std::u16string text =
        number == 0 ? std::u16string(1, language) : handle->device->texts[number];
    std::vector<unsigned char> bytes{static_cast<unsigned char>(2 + 2 * text.size()),
                                     LIBUSB_DT_STRING};
    for (const char16_t unit : text) {
        bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
        bytes.push_back(static_cast<unsigned char>(unit >> 8));
    }
    const std::size_t count = std::min<std::size_t>(bytes.size(), length);
    std::copy_n(bytes.begin(), count, data);
    return static_cast<int>(count);
}
}
