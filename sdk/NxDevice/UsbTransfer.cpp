#include "UsbTransfer.h"

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
    if (mUnderWay) {
        (void)libusb_cancel_transfer(mTransfer);
    }
    while (mUnderWay) {
        (void)libusb_handle_events(mContext);
    }
}

int UsbTransfer::GetError() const {
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
    return static_cast<std::size_t>(mTransfer->actual_length);
}

void LIBUSB_CALL UsbTransfer::OnEnd(libusb_transfer* transfer) {
    static_cast<UsbTransfer*>(transfer->user_data)->mUnderWay = false;
}
