#include "UsbPipe.h"

#include <libusb.h>

UsbPipe::~UsbPipe() = default;

int UsbPipe::Exchange(std::span<const std::byte> bytes, std::span<std::byte> buffer,
                      Milliseconds timeout, std::size_t& length, bool& sent) {
    const int error = Send(bytes, timeout);
    sent = error == LIBUSB_SUCCESS;
    return sent ? Receive(buffer, timeout, length) : error;
}
