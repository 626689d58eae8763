#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "U3vBootstrap.h"
#include "U3vOptions.h"
#include "UsbDescriptors.h"
#include "UsbFunction.h"
#include "simulator/device/DeviceFaults.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"
#include "simulator/firmware/FirmwareStore.h"
#include "simulator/registers/DeviceMemory.h"
#include "simulator/registers/FeatureRegisters.h"

namespace simulator {

/// A camera on USB3 Vision: its control channel (USB3 Vision 1.0, section 3; GenCP 1.1, section 4)
/// over the registers of the device. One object is one time of being plugged in.
class U3vFunction : public UsbFunction, public FirmwareListener {
  public:
    /// Why it is no longer there.
    enum class Departure {
        kUnplugged,
        kReset,  ///< it was told to; comes back
        kReboot  ///< as after a watchdog; comes back
    };
    using Vanished = std::function<void(Departure)>;

    /// @param faults the device's, over all its times of being plugged in; outlives this object
    /// @param vanished called once, on the thread that uses this object
    U3vFunction(const DeviceOptions& device, const U3vOptions& options, FirmwareStore& firmware,
                EventLog& events, DeviceFaults& faults, Vanished vanished);

    [[nodiscard]] static U3vTexts TextsOf(const DeviceOptions& device,
                                          const FirmwareStore& firmware);

    [[nodiscard]] std::vector<std::uint8_t> Descriptors() const override;
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> Control(const Setup& setup) override;
    [[nodiscard]] Transfer Out(std::uint8_t endpoint, ConstBytes bytes) override;
    [[nodiscard]] Transfer In(std::uint8_t endpoint, std::vector<std::uint8_t>& bytes) override;
    [[nodiscard]] std::optional<Clock::time_point> ReadyAt() const override;
    void ClearStall(std::uint8_t endpoint) override;
    void Released() override;
    [[nodiscard]] bool IsPresent() const override { return mPresent; }

    void PayloadGrew(std::uint64_t total) override;
    void Reached(FaultMoment moment) override;
    void ResetRequested() override;

  private:
    struct Answer {
        std::vector<std::uint8_t> bytes;
        Clock::time_point ready;
    };
    struct Command {
        std::uint16_t code = 0;
        std::uint16_t id = 0;
        bool wantsAck = false;
        ConstBytes payload;
    };

    std::uint16_t Execute(const Command& command, std::vector<std::uint8_t>& payload);
    std::uint16_t Read(ConstBytes command, std::vector<std::uint8_t>& payload);
    std::uint16_t Write(ConstBytes command, std::vector<std::uint8_t>& payload);
    void Schedule(const Command& command, std::uint16_t status,
                  const std::vector<std::uint8_t>& payload);
    [[nodiscard]] Transfer Arrive();
    void NoteRepetition(ConstBytes packet);
    void Suffer(const std::vector<DeviceFault>& faults);
    void Vanish(Departure departure);

    const DeviceOptions& mDevice;
    const U3vOptions mOptions;
    FirmwareStore& mFirmware;
    EventLog& mEvents;
    DeviceFaults& mFaults;
    const Vanished mVanished;

    DeviceMemory mMemory;
    U3vTexts mTexts;
    std::optional<U3vBootstrap> mBootstrap;
    std::optional<FeatureRegisters> mFeatures;

    std::atomic<bool> mPresent{true};
    bool mMute = false;
    bool mStalled = false;
    bool mResetting = false;
    Clock::time_point mPauseEnd{};           // no ack before that
    std::uint64_t mSent = 0;                 // commands, also those that did not arrive
    std::uint64_t mCommands = 0;             // that arrived
    std::vector<std::uint8_t> mLastCommand;  // without its id
    std::deque<Answer> mAnswers;
};

}  // namespace simulator
