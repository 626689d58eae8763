#include "UsbBulkPipe.h"

#include <algorithm>
#include <chrono>

#include "UsbTransfer.h"

namespace {

// libusb's buffers are not const, but it only reads those of an OUT endpoint.
std::span<std::byte> ForSending(std::span<const std::byte> bytes) {
    return {const_cast<std::byte*>(bytes.data()), bytes.size()};
}

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

int UsbBulkPipe::Open(libusb_context* context, libusb_device* device,
                      const U3vDescriptor& descriptor) {
    mContext = context;
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
    auto* data = reinterpret_cast<unsigned char*>(ForSending(bytes).data());
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

int UsbBulkPipe::Exchange(std::span<const std::byte> bytes, std::span<std::byte> buffer,
                          Milliseconds timeout, std::size_t& length, bool& sent) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + timeout;
    UsbTransfer in(mContext, mHandle, mDescriptor.inEndpoint, buffer);
    UsbTransfer out(mContext, mHandle, mDescriptor.outEndpoint, ForSending(bytes));
    sent = false;
    int error = in.Submit();
    if (error == LIBUSB_SUCCESS) {
        error = out.Submit();
    }
    if (error != LIBUSB_SUCCESS) {
        return error;
    }
    // An answer without its command having been taken belongs to an earlier command.
    while (in.IsUnderWay() || out.IsUnderWay()) {
        const auto left =
            std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now()).count();
        const bool failed = (!out.IsUnderWay() && out.GetError() != LIBUSB_SUCCESS) ||
                            (!in.IsUnderWay() && in.GetError() != LIBUSB_SUCCESS);
        if (failed || left <= 0) {
            out.Cancel();
            in.Cancel();
            break;
        }
        timeval wait{static_cast<time_t>(left / 1000000), static_cast<suseconds_t>(left % 1000000)};
        (void)libusb_handle_events_timeout_completed(mContext, &wait, nullptr);
    }
    length = in.GetLength();
    sent = out.GetError() == LIBUSB_SUCCESS && out.GetLength() == bytes.size();
    if (sent) {
        return in.GetError();
    }
    // The one that failed ended the other.
    for (const int failure : {out.GetError(), in.GetError()}) {
        if (failure != LIBUSB_SUCCESS && failure != LIBUSB_ERROR_TIMEOUT) {
            return failure;
        }
    }
    return out.GetError() == LIBUSB_SUCCESS ? LIBUSB_ERROR_IO : LIBUSB_ERROR_TIMEOUT;
}

void UsbBulkPipe::ClearStall() {
    (void)libusb_clear_halt(mHandle, mDescriptor.outEndpoint);
    (void)libusb_clear_halt(mHandle, mDescriptor.inEndpoint);
}
