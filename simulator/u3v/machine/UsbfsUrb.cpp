#include "UsbfsUrb.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

#include <linux/usb/ch9.h>

namespace simulator {

namespace {

// The kernel's own limit of what one usbfs transfer may hold.
constexpr int kLongestTransfer = 16 << 20;
constexpr std::size_t kSetupLength = 8;

}  // namespace

UMockdevIoctlData* FetchMemory(UMockdevIoctlData* holder, std::size_t offset, std::size_t length) {
    GError* error = nullptr;
    UMockdevIoctlData* data = umockdev_ioctl_data_resolve(holder, offset, length, &error);
    g_clear_error(&error);
    return data;
}

UsbfsUrb::~UsbfsUrb() {
    g_clear_object(&mBuffer);
    g_clear_object(&mData);
}

int UsbfsUrb::Fetch(UMockdevIoctlClient* client, UMockdevIoctlData* argument) {
    mClient = client;
    std::memcpy(&mAddress, argument->data, sizeof mAddress);
    mData = FetchMemory(argument, 0, sizeof(usbdevfs_urb));
    if (mData == nullptr) {
        return -EFAULT;
    }
    const int length = Fields().buffer_length;
    if (length < 0 || length > kLongestTransfer) {
        return -EINVAL;
    }
    if (length > 0) {
        mBuffer =
            FetchMemory(mData, offsetof(usbdevfs_urb, buffer), static_cast<std::size_t>(length));
        if (mBuffer == nullptr) {
            return -EFAULT;
        }
    }
    const bool isControl = Fields().type == USBDEVFS_URB_TYPE_CONTROL;
    const bool isBulk = Fields().type == USBDEVFS_URB_TYPE_BULK;
    return isBulk || (isControl && Buffer().size() >= kSetupLength) ? 0 : -EINVAL;
}

usbdevfs_urb& UsbfsUrb::Fields() const {
    return *reinterpret_cast<usbdevfs_urb*>(mData->data);
}

Bytes UsbfsUrb::Buffer() const {
    return mBuffer == nullptr ? Bytes()
                              : Bytes(mBuffer->data, static_cast<std::size_t>(mBuffer->data_len));
}

void UsbfsUrb::Finish(int status, std::size_t length) const {
    Fields().status = status;
    Fields().actual_length = static_cast<int>(length);
}

bool UsbfsUrb::TryFinish(UsbFunction& function) const {
    if (!function.IsPresent()) {
        Finish(-ESHUTDOWN, 0);
        return true;
    }
    if (Fields().type == USBDEVFS_URB_TYPE_CONTROL) {
        FinishControl(function);
        return true;
    }
    const std::uint8_t endpoint = Fields().endpoint;
    const Bytes buffer = Buffer();
    std::vector<std::uint8_t> bytes;
    const bool in = (endpoint & USB_DIR_IN) != 0;
    switch (in ? function.In(endpoint, bytes) : function.Out(endpoint, buffer)) {
        case UsbFunction::Transfer::kDone:
            std::copy_n(bytes.begin(), std::min(bytes.size(), buffer.size()), buffer.begin());
            Finish(bytes.size() > buffer.size() ? -EOVERFLOW : 0,
                   in ? std::min(bytes.size(), buffer.size()) : buffer.size());
            return true;
        case UsbFunction::Transfer::kStalled:
            Finish(-EPIPE, 0);
            return true;
        case UsbFunction::Transfer::kProtocolError:
            Finish(-EPROTO, 0);
            return true;
        case UsbFunction::Transfer::kNotReady:
            break;
    }
    return false;
}

void UsbfsUrb::FinishControl(UsbFunction& function) const {
    const Bytes buffer = Buffer();
    const auto word = [&](std::size_t at) {
        return static_cast<std::uint16_t>(buffer[at] | (buffer[at + 1] << 8U));
    };
    const std::optional<std::vector<std::uint8_t>> answer =
        function.Control({buffer[0], buffer[1], word(2), word(4), word(6)});
    if (!answer.has_value()) {
        Finish(-EPIPE, 0);
        return;
    }
    const std::size_t length = std::min(answer->size(), buffer.size() - kSetupLength);
    std::copy_n(answer->begin(), length, buffer.begin() + kSetupLength);
    Finish(0, length);
}

}  // namespace simulator
