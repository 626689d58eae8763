#include "UsbTransfer.h"

#include <sys/time.h>

#include <algorithm>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

// Cancelling takes the kernel well under a millisecond.
constexpr std::chrono::seconds kReplyTimeout{1};
constexpr microseconds kStep{10000};

}  // namespace

UsbTransfer::UsbTransfer(libusb_context* context, libusb_device_handle* device,
                         std::uint8_t endpoint, std::span<std::byte> bytes)
    : mContext(context), mTransfer(libusb_alloc_transfer(0)) {
    if (mTransfer != nullptr) {
        libusb_fill_bulk_transfer(mTransfer, device, endpoint,
                                  reinterpret_cast<unsigned char*>(bytes.data()),
                                  static_cast<int>(bytes.size()), OnEnd, this, 0);
    }
}

UsbTransfer::~UsbTransfer() {
    Cancel();
    if (mUnderWay) {
        // Still in libusb's hands.
        mTransfer->user_data = nullptr;
        return;
    }
    libusb_free_transfer(mTransfer);
}

void UsbTransfer::HandleEvents(libusb_context* context, microseconds atMost) {
    constexpr microseconds::rep kSecond = 1000000;
    timeval wait{static_cast<time_t>(atMost.count() / kSecond),
                 static_cast<suseconds_t>(atMost.count() % kSecond)};
    if (libusb_handle_events_timeout_completed(context, &wait, nullptr) != LIBUSB_SUCCESS) {
        std::this_thread::sleep_for(std::min(atMost, kStep));
    }
}

int UsbTransfer::Submit() {
    if (mTransfer == nullptr) {
        return LIBUSB_ERROR_NO_MEM;
    }
    const int error = libusb_submit_transfer(mTransfer);
    mUnderWay = error == LIBUSB_SUCCESS;
    return error;
}

int UsbTransfer::Run(std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    const int error = Submit();
    if (error != LIBUSB_SUCCESS) {
        return error;
    }
    while (mUnderWay) {
        const auto left = std::chrono::ceil<microseconds>(deadline - Clock::now());
        if (left <= microseconds(0)) {
            Cancel();
            break;
        }
        HandleEvents(mContext, left);
    }
    return GetError();
}

void UsbTransfer::Cancel() {
    if (!mUnderWay || mGivenUp) {
        return;
    }
    (void)libusb_cancel_transfer(mTransfer);
    const auto deadline = Clock::now() + kReplyTimeout;
    while (mUnderWay && Clock::now() < deadline) {
        HandleEvents(mContext, kStep);
    }
    mGivenUp = mUnderWay;
}

int UsbTransfer::GetError() const {
    if (mUnderWay) {
        return LIBUSB_ERROR_IO;
    }
    switch (mTransfer->status) {
        case LIBUSB_TRANSFER_COMPLETED:
            return LIBUSB_SUCCESS;
        case LIBUSB_TRANSFER_TIMED_OUT:
        case LIBUSB_TRANSFER_CANCELLED:
            return LIBUSB_ERROR_TIMEOUT;
        case LIBUSB_TRANSFER_STALL:
            return LIBUSB_ERROR_PIPE;
        case LIBUSB_TRANSFER_NO_DEVICE:
            return LIBUSB_ERROR_NO_DEVICE;
        case LIBUSB_TRANSFER_OVERFLOW:
            return LIBUSB_ERROR_OVERFLOW;
        case LIBUSB_TRANSFER_ERROR:
            break;
    }
    return LIBUSB_ERROR_IO;
}

std::size_t UsbTransfer::GetLength() const {
    return mUnderWay || mTransfer == nullptr ? 0
                                             : static_cast<std::size_t>(mTransfer->actual_length);
}

void LIBUSB_CALL UsbTransfer::OnEnd(libusb_transfer* transfer) {
    if (transfer->user_data != nullptr) {
        static_cast<UsbTransfer*>(transfer->user_data)->mUnderWay = false;
    }
}
