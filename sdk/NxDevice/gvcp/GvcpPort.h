#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include <internal/NxSystem/ConnectionId.h>

#include "GvcpAddressSpace.h"
#include "GvcpChannel.h"
#include "port/DevicePort.h"

/// The registers of one GigE Vision device, controlled by this process: the control channel
/// privilege is taken, kept by a heartbeat, and given up at the end (GigE Vision 2.0, section 10).
class GvcpPort : public DevicePort {
  public:
    explicit GvcpPort(std::unique_ptr<GvcpChannel> channel);
    ~GvcpPort() override;

    /// Takes control and starts the heartbeat. A device that is controlled is asked again for as
    /// long as it keeps a program that died, its heartbeat timeout, 15 seconds at most.
    /// @param timeout how long the device may be silent
    /// @return kNxAccessDenied when another application controls the device
    NxResult Start(std::chrono::milliseconds timeout);

    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override;
    NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) override;
    NxResult ReadRegisters(std::span<Register> registers) override;
    NxResult WriteRegisters(std::span<const Register> registers) override;
    [[nodiscard]] std::string DeviceName() const override { return mDeviceName; }
    [[nodiscard]] bool CombinesRegisters() const override { return mSpace.CombinesRegisters(); }
    [[nodiscard]] bool HasRegisterCommands() const override { return true; }

    NxResult ReadDescription(std::string& xml) override;
    [[nodiscard]] bool IsAlive() const override;
    NxResult Probe() override;

  private:
    /// Waits for the mutex, no longer than until the commands of those who waited before are done.
    [[nodiscard]] std::unique_lock<std::mutex> TakeTurn();

    // All with the mutex held.
    NxResult TakeControl(std::chrono::milliseconds timeout);
    /// The usual one if the device does not report it.
    [[nodiscard]] std::chrono::milliseconds ReadHeartbeatTimeout();
    void EnablePendingAck();
    NxResult ExplainRefusedWrite(NxResult refusal);
    NxResult LoseControl(const std::string& sign);
    NxResult CheckControl();
    void PassDescriptionOn();

    [[nodiscard]] GvcpChannel::Clock::duration IdleTime() const;

    void KeepControl();

    std::string mDeviceName;
    std::mutex mTurn;
    std::mutex mMutex;
    std::unique_ptr<GvcpChannel> mChannel;
    GvcpAddressSpace mSpace;
    bool mIsController = false;
    // What the device's configuration was before this controller changed it.
    std::optional<std::uint32_t> mConfiguration;
    std::shared_ptr<const DescriptionCopy> mDescription;

    std::chrono::milliseconds mHeartbeatInterval{1000};
    GvcpChannel::Clock::time_point mLastCheck{};  // of the control
    std::condition_variable mStopSignal;
    bool mStops = false;
    std::thread mHeartbeat;
};

/// Opens a GigE Vision device's control channel and takes control of it; with the description that
/// is read next, ends within 5 seconds.
/// @param port untouched on failure
NxResult OpenGvcpPort(const ConnectionId& id, std::shared_ptr<DevicePort>& port);
