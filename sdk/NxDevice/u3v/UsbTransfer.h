#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

#include <libusb.h>

/// One bulk transfer that libusb carries out while others are under way. Its device and its bytes
/// must outlive it; it is cancelled and waited for before it goes.
class UsbTransfer {
  public:
    UsbTransfer(libusb_context* context, libusb_device_handle* device, std::uint8_t endpoint,
                std::span<std::byte> bytes);
    ~UsbTransfer();
    UsbTransfer(const UsbTransfer&) = delete;
    UsbTransfer& operator=(const UsbTransfer&) = delete;

    /// Runs libusb's event loop until a transfer completes or `atMost` elapses; also returns when
    /// libusb fails, and then leaves the processor to others.
    static void HandleEvents(libusb_context* context, std::chrono::microseconds atMost);

    /// @return a libusb error code
    [[nodiscard]] int Submit();
    /// Submits it and waits that long for its end, then cancels it.
    /// @return as GetError, or why it could not be submitted
    [[nodiscard]] int Run(std::chrono::milliseconds timeout);
    /// Ends it early; returns when it has ended, or when libusb has not ended it for a while. It is
    /// under way then for good, and its memory is never given back.
    void Cancel();

    [[nodiscard]] bool IsUnderWay() const { return mUnderWay; }
    /// A libusb error code; LIBUSB_ERROR_TIMEOUT when it was cancelled, LIBUSB_ERROR_IO when that
    /// did not end it.
    [[nodiscard]] int GetError() const;
    /// Number of bytes moved, also by one that was cancelled; 0 until it has ended.
    [[nodiscard]] std::size_t GetLength() const;

  private:
    static void LIBUSB_CALL OnEnd(libusb_transfer* transfer);

    libusb_context* mContext;
    libusb_transfer* mTransfer;
    bool mUnderWay = false;
    bool mGivenUp = false;
};
