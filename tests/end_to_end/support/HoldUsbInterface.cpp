// hold_usb_interface COMMAND…: runs a command while this program holds the control interface of the
// first USB3 Vision camera, as a viewer that was left open does. Ends with the command's status.
#include <libusb.h>

#include <cstdio>

#include "ChildCommand.h"

namespace {

constexpr int kControlInterface = 0;

bool IsCamera(libusb_device* device) {
    libusb_device_descriptor descriptor{};
    return libusb_get_device_descriptor(device, &descriptor) == 0 &&
           descriptor.bDeviceClass == LIBUSB_CLASS_MISCELLANEOUS &&
           descriptor.bDeviceSubClass == 2 && descriptor.bDeviceProtocol == 1;
}

libusb_device_handle* OpenCamera(libusb_context* context) {
    libusb_device** list = nullptr;
    const ssize_t count = libusb_get_device_list(context, &list);
    libusb_device_handle* handle = nullptr;
    for (ssize_t i = 0; i < count && handle == nullptr; ++i) {
        if (IsCamera(list[i])) {
            (void)libusb_open(list[i], &handle);
        }
    }
    libusb_free_device_list(list, 1);
    return handle;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    libusb_context* context = nullptr;
    if (argumentCount < 2 || libusb_init(&context) != 0) {
        return kNotRun;
    }
    int status = kNotRun;
    if (libusb_device_handle* handle = OpenCamera(context); handle != nullptr) {
        const int claimed = libusb_claim_interface(handle, kControlInterface);
        if (claimed == 0) {
            status = RunToEnd(arguments + 1);
            (void)libusb_release_interface(handle, kControlInterface);
        } else {
            std::fprintf(stderr, "hold_usb_interface: %s\n", libusb_error_name(claimed));
        }
        libusb_close(handle);
    }
    libusb_exit(context);
    return status;
}
