#include "UsbBulkPipe.h"

#include <chrono>

#include "UsbTransfer.h"

namespace {

// Clearing an endpoint takes a device that answers well under a millisecond.
constexpr std::chrono::seconds kAnswerTime{1};

// libusb's buffers are not const, but it only reads those of an OUT endpoint.
std::span<std::byte> ForSending(std::span<const std::byte> bytes) {
    return {const_cast<std::byte*>(bytes.data()), bytes.size()};
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
    UsbTransfer out(mContext, mHandle, mDescriptor.outEndpoint, ForSending(bytes));
    const int error = out.Run(timeout);
    return error == LIBUSB_SUCCESS && out.GetLength() != bytes.size() ? LIBUSB_ERROR_IO : error;
}

int UsbBulkPipe::Receive(std::span<std::byte> buffer, Milliseconds timeout, std::size_t& length) {
    UsbTransfer in(mContext, mHandle, mDescriptor.inEndpoint, buffer);
    const int error = in.Run(timeout);
    length = in.GetLength();
    return error;
}

int UsbBulkPipe::Exchange(std::span<const std::byte> bytes, std::span<std::byte> buffer,
                          Milliseconds timeout, std::size_t& length, Sending& sending) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + timeout;
    UsbTransfer in(mContext, mHandle, mDescriptor.inEndpoint, buffer);
    UsbTransfer out(mContext, mHandle, mDescriptor.outEndpoint, ForSending(bytes));
    length = 0;
    sending = {.error = LIBUSB_ERROR_TIMEOUT, .taken = 0};
    int error = in.Submit();
    if (error == LIBUSB_SUCCESS) {
        error = out.Submit();
    }
    if (error != LIBUSB_SUCCESS) {
        return error;
    }
    // An answer without its command having been taken belongs to an earlier command.
    while (in.IsUnderWay() || out.IsUnderWay()) {
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now());
        const bool failed = (!out.IsUnderWay() && out.GetError() != LIBUSB_SUCCESS) ||
                            (!in.IsUnderWay() && in.GetError() != LIBUSB_SUCCESS);
        if (failed || left.count() <= 0) {
            out.Cancel();
            in.Cancel();
            break;
        }
        UsbTransfer::HandleEvents(mContext, left);
    }
    length = in.GetLength();
    sending = {.error = out.GetError(), .taken = out.GetLength()};
    if (sending.error == LIBUSB_SUCCESS && sending.taken == bytes.size()) {
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
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const int error = libusb_clear_halt(mHandle, mDescriptor.outEndpoint);
    // The system waits 5 seconds for each, and a silent device would not answer the second either.
    if (error == LIBUSB_SUCCESS || Clock::now() - begin < kAnswerTime) {
        (void)libusb_clear_halt(mHandle, mDescriptor.inEndpoint);
    }
}
