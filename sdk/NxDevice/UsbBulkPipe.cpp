#include "UsbBulkPipe.h"

#include <algorithm>

UsbPipe::~UsbPipe() = default;

namespace {

// libusb takes 0 for "wait for ever".
unsigned int PositiveMilliseconds(UsbPipe::Milliseconds timeout) {
    return static_cast<unsigned int>(std::max<long long>(timeout.count(), 1));
}

}  // namespace

UsbBulkPipe::~UsbBulkPipe() {
    if (mClaimed) {
        (void)libusb_release_interface(mHandle, mDescriptor.controlInterface);
    }
    if (mHandle != nullptr) {
        libusb_close(mHandle);
    }
}

int UsbBulkPipe::Open(libusb_device* device, const U3vDescriptor& descriptor) {
    mDescriptor = descriptor;
    const int error = libusb_open(device, &mHandle);
    if (error != LIBUSB_SUCCESS) {
        mHandle = nullptr;
        return error;
    }
    const int claimed = libusb_claim_interface(mHandle, mDescriptor.controlInterface);
    mClaimed = claimed == LIBUSB_SUCCESS;
    return claimed;
}

int UsbBulkPipe::Send(std::span<const std::byte> bytes, Milliseconds timeout) {
    // libusb's buffers are not const, but it only reads those of an OUT endpoint.
    auto* data = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(bytes.data()));
    int sent = 0;
    const int error =
        libusb_bulk_transfer(mHandle, mDescriptor.outEndpoint, data, static_cast<int>(bytes.size()),
                             &sent, PositiveMilliseconds(timeout));
    if (error == LIBUSB_SUCCESS && static_cast<std::size_t>(sent) != bytes.size()) {
        return LIBUSB_ERROR_IO;
    }
    return error;
}

int UsbBulkPipe::Receive(std::span<std::byte> buffer, Milliseconds timeout, std::size_t& length) {
    int received = 0;
    const int error = libusb_bulk_transfer(
        mHandle, mDescriptor.inEndpoint, reinterpret_cast<unsigned char*>(buffer.data()),
        static_cast<int>(buffer.size()), &received, PositiveMilliseconds(timeout));
    length = static_cast<std::size_t>(received);
    return error;
}

void UsbBulkPipe::ClearStall() {
    (void)libusb_clear_halt(mHandle, mDescriptor.outEndpoint);
    (void)libusb_clear_halt(mHandle, mDescriptor.inEndpoint);
}
