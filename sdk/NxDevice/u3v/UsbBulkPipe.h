#pragma once

#include <libusb.h>

#include <internal/NxSystem/U3vDescriptor.h>

#include "UsbPipe.h"

/// The control interface of one USB3 Vision device, claimed for this process.
class UsbBulkPipe : public UsbPipe {
  public:
    UsbBulkPipe() = default;
    ~UsbBulkPipe() override;
    UsbBulkPipe(const UsbBulkPipe&) = delete;
    UsbBulkPipe& operator=(const UsbBulkPipe&) = delete;

    /// Opens the device and claims its control interface.
    /// @return a libusb error code; LIBUSB_ERROR_BUSY when another program holds the interface
    /// @param context that the device belongs to; outlives the pipe
    [[nodiscard]] int Open(libusb_context* context, libusb_device* device,
                           const U3vDescriptor& descriptor);

    [[nodiscard]] int Send(std::span<const std::byte> bytes, Milliseconds timeout) override;
    [[nodiscard]] int Receive(std::span<std::byte> buffer, Milliseconds timeout,
                              std::size_t& length) override;
    [[nodiscard]] int Exchange(std::span<const std::byte> bytes, std::span<std::byte> buffer,
                               Milliseconds timeout, std::size_t& length,
                               Sending& sending) override;
    void ClearStall() override;

  private:
    libusb_context* mContext = nullptr;
    libusb_device_handle* mHandle = nullptr;
    U3vDescriptor mDescriptor;
    bool mClaimed = false;
};
