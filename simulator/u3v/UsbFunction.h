#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/registers/ByteOrder.h"

namespace simulator {

/// What is plugged into a USB port, as the host sees it. Used by one thread at a time.
class UsbFunction {
  public:
    using Clock = std::chrono::steady_clock;

    /// A control request (USB 3.0, section 9.3).
    struct Setup {
        std::uint8_t type = 0;
        std::uint8_t request = 0;
        std::uint16_t value = 0;
        std::uint16_t index = 0;
        std::uint16_t length = 0;
    };

    /// How a bulk transfer ends.
    enum class Transfer { kDone, kNotReady, kStalled, kProtocolError };

    virtual ~UsbFunction() = default;

    /// The device descriptor and the configuration with all that belongs to it.
    [[nodiscard]] virtual std::vector<std::uint8_t> Descriptors() const = 0;
    /// Answers a request to endpoint 0; nothing: the request is stalled.
    [[nodiscard]] virtual std::optional<std::vector<std::uint8_t>> Control(const Setup& setup) = 0;
    /// Takes one bulk transfer from the host.
    [[nodiscard]] virtual Transfer Out(std::uint8_t endpoint, ConstBytes bytes);
    /// Gives one bulk transfer to the host.
    /// @param[out] bytes set when it is done
    [[nodiscard]] virtual Transfer In(std::uint8_t endpoint, std::vector<std::uint8_t>& bytes);
    /// When In may be done that is not ready yet; nothing: only after a further Out.
    [[nodiscard]] virtual std::optional<Clock::time_point> ReadyAt() const;
    virtual void ClearStall(std::uint8_t endpoint);
    /// The host program that held an interface is gone or has given it back.
    virtual void Released();
    /// False once it has been unplugged.
    [[nodiscard]] virtual bool IsPresent() const;
};

/// A device with descriptors and nothing else, such as a hub.
class PassiveUsbFunction : public UsbFunction {
  public:
    explicit PassiveUsbFunction(std::vector<std::uint8_t> descriptors);
    [[nodiscard]] std::vector<std::uint8_t> Descriptors() const override;
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> Control(const Setup& setup) override;

  private:
    const std::vector<std::uint8_t> mDescriptors;
};

}  // namespace simulator
