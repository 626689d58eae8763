#pragma once

#include <chrono>
#include <cstddef>
#include <span>

/// A pair of bulk endpoints. Results are libusb error codes.
class UsbPipe {
  public:
    using Milliseconds = std::chrono::milliseconds;

    /// What became of bytes that were handed to the device.
    struct Sending {
        int error = 0;          ///< 0 when the device took all of them; when the transfer was ended
                                ///< because receiving failed, LIBUSB_ERROR_TIMEOUT
        std::size_t taken = 0;  ///< bytes that the device took for certain
    };

    virtual ~UsbPipe();

    /// Hands all of `bytes` to the device.
    [[nodiscard]] virtual int Send(std::span<const std::byte> bytes, Milliseconds timeout) = 0;
    /// Waits for one transfer from the device.
    /// @param length number of bytes received
    [[nodiscard]] virtual int Receive(std::span<std::byte> buffer, Milliseconds timeout,
                                      std::size_t& length) = 0;
    /// Send, then Receive. A pipe may ask for the answer before it sends, which saves time.
    /// @param sending set on failure too
    [[nodiscard]] virtual int Exchange(std::span<const std::byte> bytes,
                                       std::span<std::byte> buffer, Milliseconds timeout,
                                       std::size_t& length, Sending& sending);
    /// Lets both endpoints work again after a stall; takes 5 seconds when the device does not
    /// answer to that.
    virtual void ClearStall() = 0;
};
