#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

#include <internal/NxSystem/UsbContext.h>

#include "U3vChannel.h"
#include "port/DevicePort.h"

/// Opens a USB3 Vision device's control channel and takes control of it. Ends within 2.5 seconds
/// when the device is silent, or 5 more where it does not answer to its endpoints being cleared;
/// waits longer for a device that announces longer response times, a minute at most for all
/// commands.
/// @param guid the device's GUID as its connection ID carries it, or '@' and the USB port
/// @param port untouched on failure
NxResult OpenU3vPort(const std::string& guid, std::shared_ptr<DevicePort>& port);

/// The registers of one USB3 Vision device, its control interface claimed.
class U3vPort : public DevicePort {
  public:
    /// @param usb where the pipe's device comes from, kept open as long as the port; null in tests
    U3vPort(std::unique_ptr<UsbContext> usb, std::unique_ptr<UsbPipe> pipe, std::string device);

    /// Asks the device for its response time, its limits and where its description is.
    /// @param timeout for each command, unless the device announces that it may take longer
    NxResult Start(std::chrono::milliseconds timeout);

    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override;
    NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) override;
    NxResult ReadRegisters(std::span<Register> registers) override;
    NxResult WriteRegisters(std::span<const Register> registers) override;
    [[nodiscard]] bool CombinesRegisters() const override { return false; }
    [[nodiscard]] bool HasRegisterCommands() const override { return false; }
    [[nodiscard]] std::string DeviceName() const override { return mChannel.GetDeviceName(); }

    /// Ends after 2.5 seconds of silence, or what the device announces, and when less than 16 KiB
    /// come in a second.
    NxResult ReadDescription(std::string& xml) override;
    [[nodiscard]] bool IsAlive() const override { return mChannel.IsAlive(); }
    /// A device that restarted is another one to USB, and the old one is gone without a sign. The
    /// device is given as long to answer as for any command.
    NxResult Probe() override;

  private:
    NxResult ReadLimits();
    NxResult ReadTogether(std::span<Register> neighbours);
    NxResult ReadNumber(std::uint64_t address, std::uint32_t& number);
    NxResult ReadNumber(std::uint64_t address, std::uint64_t& number);
    NxResult FindDescription(std::uint64_t& address, std::size_t& length);
    NxResult ReadStored(std::uint64_t address, std::span<std::byte> stored);

    std::unique_ptr<UsbContext> mUsb;
    std::mutex mMutex;
    U3vChannel mChannel;
    std::uint64_t mManifestAddress = 0;
    bool mReadsNeighbours = true;
};
