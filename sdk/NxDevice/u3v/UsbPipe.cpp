#include "UsbPipe.h"

#include <libusb.h>

UsbPipe::~UsbPipe() = default;

int UsbPipe::Exchange(std::span<const std::byte> bytes, std::span<std::byte> buffer,
                      Milliseconds timeout, std::size_t& length, Sending& sending) {
    sending.error = Send(bytes, timeout);
    sending.taken = sending.error == LIBUSB_SUCCESS ? bytes.size() : 0;
    return sending.error == LIBUSB_SUCCESS ? Receive(buffer, timeout, length) : sending.error;
}
