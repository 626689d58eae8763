#pragma once

#include <chrono>
#include <cstddef>
#include <span>

/// A pair of bulk endpoints. Results are libusb error codes.
class UsbPipe {
  public:
    using Milliseconds = std::chrono::milliseconds;

    virtual ~UsbPipe();

    /// Hands all of `bytes` to the device.
    [[nodiscard]] virtual int Send(std::span<const std::byte> bytes, Milliseconds timeout) = 0;
    /// Waits for one transfer from the device.
    /// @param length number of bytes received
    [[nodiscard]] virtual int Receive(std::span<std::byte> buffer, Milliseconds timeout,
                                      std::size_t& length) = 0;
    /// Send, then Receive. A pipe may ask for the answer before it sends, which saves time.
    /// @param sent whether the device took all of `bytes`, also on failure
    [[nodiscard]] virtual int Exchange(std::span<const std::byte> bytes,
                                       std::span<std::byte> buffer, Milliseconds timeout,
                                       std::size_t& length, bool& sent);
    /// Lets both endpoints work again after a stall; takes 5 seconds when the device does not
    /// answer to that.
    virtual void ClearStall() = 0;
};
