#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "DeviceFaults.h"
#include "DeviceProfile.h"
#include "DeviceService.h"
#include "EventLog.h"
#include "IpSettings.h"
#include "simulator/firmware/FirmwareStore.h"
#include "simulator/gvcp/CommandCounters.h"
#include "simulator/network/HostAddress.h"

namespace simulator {

/// A simulated device on a network interface, with its own threads. Its operations may be called
/// from any thread but not from its services.
class SimulatedDevice : private FirmwareListener {
  public:
    class Builder;

    explicit SimulatedDevice(DeviceOptions options);
    /// Stops it.
    ~SimulatedDevice() override;
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    /// Switches it on. Returns once it answers.
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] bool Start(std::string& why);
    /// Cuts its power. Returns once nothing of it is left on the network. It may be started again.
    void Stop();
    /// As pressing its reset button: Stop and, after the reboot time, Start. Returns at once.
    void Reboot();

    /// Whether it is on: false before Start, after Stop, while it reboots, when it is unplugged.
    [[nodiscard]] bool IsServing() const;
    /// What answers, e.g. {"tftp", "gvcp"}.
    [[nodiscard]] std::vector<std::string> ServiceNames() const;

    [[nodiscard]] const DeviceOptions& Options() const { return mOptions; }
    /// Only after the first successful Start.
    [[nodiscard]] FirmwareStore& Firmware() { return *mFirmware; }
    [[nodiscard]] EventLog& Events() { return mEvents; }
    [[nodiscard]] CommandCounters::Counts GvcpCounts() const { return mGvcpCounters.All(); }

  private:
    enum class Request { kNone, kMove, kReset, kReboot, kVanish, kStop };

    void PayloadGrew(std::uint64_t total) override;
    void Reached(FaultMoment moment) override;
    void ResetRequested() override;

    [[nodiscard]] bool OpenFirmware(std::string& why);
    void MakeServices();
    [[nodiscard]] bool PowerOn(std::string& why);
    [[nodiscard]] bool StartServices(const NetworkPlace& place, std::string& why);
    void Move();
    [[nodiscard]] NetworkPlace PlaceAtPowerOn() const;
    [[nodiscard]] NetworkPlace PlaceAt(const IpAddress& address) const;
    void PowerOff(bool reset);
    void Ask(Request request);
    void Suffer(const std::vector<DeviceFault>& faults);
    void RunPower();
    /// @return false when the device is to stop meanwhile
    [[nodiscard]] bool Pause(std::chrono::milliseconds time);

    const DeviceOptions mOptions;
    EventLog mEvents;
    CommandCounters mGvcpCounters;
    std::unique_ptr<FirmwareStore> mFirmware;
    std::optional<IpSettings> mIp;  // like the next two, used while no service runs
    std::optional<HostAddress> mHostAddress;
    NetworkPlace mPlace;  // where it is
    std::atomic<bool> mMuted{false};
    std::atomic<bool> mControlLost{false};
    DeviceFaults mFaults{mOptions.faults, mEvents};

    std::vector<std::unique_ptr<DeviceService>> mServices;  // started and stopped in Start, Stop
                                                            // and, between them, by mPower
    std::atomic<bool> mServing{false};

    std::mutex mMutex;  // guards mRequest and mForced
    std::condition_variable mRequested;
    Request mRequest = Request::kNone;
    IpAddress mForced;
    std::thread mPower;  // reboots the device; runs from Start to Stop
};

/// Puts a device together: `SimulatedDevice::Builder().model("M").build()`.
class SimulatedDevice::Builder {
  public:
    // NOLINTBEGIN(readability-identifier-naming): they read as the properties that they set
    Builder& profile(Profile value) { return mOptions.profile = value, *this; }
    Builder& vendor(std::string value) { return mOptions.vendor = std::move(value), *this; }
    Builder& model(std::string value) { return mOptions.model = std::move(value), *this; }
    Builder& serial(std::string value) { return mOptions.serial = std::move(value), *this; }
    Builder& mac(std::string value) { return mOptions.mac = std::move(value), *this; }
    Builder& address(std::string value) { return mOptions.place.address = std::move(value), *this; }
    Builder& interfaceName(std::string value) {
        return mOptions.place.interfaceName = std::move(value), *this;
    }
    Builder& userName(std::string value) {
        return mOptions.firmware.deviceId = std::move(value), *this;
    }
    Builder& bufferSize(std::uint32_t bytes) { return mOptions.bufferSize = bytes, *this; }
    Builder& layout(RegisterLayout value) { return mOptions.layout = value, *this; }
    Builder& executeKeepsValue(bool value) { return mOptions.executeKeepsValue = value, *this; }
    Builder& registerCommandsSwap(bool value) {
        return mOptions.registerCommandsSwap = value, *this;
    }
    Builder& operationEvents(bool value) { return mOptions.operationEvents = value, *this; }
    Builder& concatenation(bool value) { return mOptions.concatenation = value, *this; }
    Builder& description(DescriptionShapes value) {
        return mOptions.description = std::move(value), *this;
    }
    Builder& zippedXml(bool value) { return mOptions.zippedXml = value, *this; }
    Builder& latency(std::chrono::microseconds value) { return mOptions.latency = value, *this; }
    Builder& operationTime(std::chrono::milliseconds value) {
        return mOptions.operationTime = value, *this;
    }
    Builder& executeLatency(std::chrono::milliseconds value) {
        return mOptions.executeLatency = value, *this;
    }
    Builder& shortWriteEvery(std::uint32_t writes) {
        return mOptions.shortWriteEvery = writes, *this;
    }
    Builder& rebootTime(std::chrono::milliseconds value) {
        return mOptions.rebootTime = value, *this;
    }
    Builder& flashTime(std::chrono::milliseconds value) {
        return mOptions.firmware.flashTime = value, *this;
    }
    Builder& family(std::string value) {
        return mOptions.firmware.family = std::move(value), *this;
    }
    Builder& version(FirmwareVersion value) { return mOptions.firmware.version = value, *this; }
    Builder& stateFolder(std::filesystem::path value) {
        return mOptions.firmware.folder = std::move(value), *this;
    }
    Builder& serveTftp(bool value) { return mOptions.serveTftp = value, *this; }
    Builder& tftp(const TftpSettings& value) { return mOptions.tftp = value, *this; }
    Builder& faults(const FaultOptions& value) { return mOptions.faults = value, *this; }
    /// Everything at once, also what has no operation of its own here.
    Builder& options(DeviceOptions value) { return mOptions = std::move(value), *this; }

    [[nodiscard]] std::unique_ptr<SimulatedDevice> build() const {
        return std::make_unique<SimulatedDevice>(mOptions);
    }
    // NOLINTEND(readability-identifier-naming)

  private:
    DeviceOptions mOptions;
};

}  // namespace simulator
