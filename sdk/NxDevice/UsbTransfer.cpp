#include "UsbTransfer.h"

#include <sys/time.h>

#include <chrono>
#include <thread>

namespace {

// Cancelling takes the kernel well under a millisecond.
constexpr std::chrono::seconds kPatience{1};
constexpr long kStepMicroseconds = 10000;

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

int UsbTransfer::Submit() {
    if (mTransfer == nullptr) {
        return LIBUSB_ERROR_NO_MEM;
    }
    const int error = libusb_submit_transfer(mTransfer);
    mUnderWay = error == LIBUSB_SUCCESS;
    return error;
}

void UsbTransfer::Cancel() {
    if (!mUnderWay || mGivenUp) {
        return;
    }
    (void)libusb_cancel_transfer(mTransfer);
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (mUnderWay && std::chrono::steady_clock::now() < deadline) {
        timeval wait{0, kStepMicroseconds};
        if (libusb_handle_events_timeout_completed(mContext, &wait, nullptr) != LIBUSB_SUCCESS) {
            std::this_thread::sleep_for(std::chrono::microseconds(kStepMicroseconds));
        }
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
    return mUnderWay ? 0 : static_cast<std::size_t>(mTransfer->actual_length);
}

void LIBUSB_CALL UsbTransfer::OnEnd(libusb_transfer* transfer) {
    if (transfer->user_data != nullptr) {
        static_cast<UsbTransfer*>(transfer->user_data)->mUnderWay = false;
    }
}
