#include "U3vFunction.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/description/StoredDescription.h"
#include "simulator/firmware/Crc32.h"
#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kHeader = 12;
constexpr std::array<std::uint8_t, 4> kMagic = {'U', '3', 'V', 'C'};
constexpr std::uint16_t kRequestAck = 0x4000;

constexpr std::uint16_t kReadMemory = 0x0800;
constexpr std::uint16_t kWriteMemory = 0x0802;
constexpr std::uint16_t kPendingAck = 0x0805;

constexpr std::uint16_t kSuccess = 0x0000;
constexpr std::uint16_t kNotImplemented = 0x8001;
constexpr std::uint16_t kInvalidParameter = 0x8002;

template <typename Number>
Number LoadLittle(ConstBytes bytes, std::size_t offset) {
    std::uint64_t value = 0;
    for (std::size_t i = sizeof(Number); i > 0; --i) {
        value = value << 8U | bytes[offset + i - 1];
    }
    return static_cast<Number>(value);
}

void AppendLittle16(std::vector<std::uint8_t>& bytes, std::size_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U & 0xFFU));
}

std::vector<std::uint8_t> Packet(std::uint16_t status, std::uint16_t command, std::uint16_t id,
                                 const std::vector<std::uint8_t>& payload) {
    std::vector<std::uint8_t> packet(kMagic.begin(), kMagic.end());
    AppendLittle16(packet, status);
    AppendLittle16(packet, command);
    AppendLittle16(packet, payload.size());
    AppendLittle16(packet, id);
    packet.insert(packet.end(), payload.begin(), payload.end());
    return packet;
}

/// Vendor number and a number made of the serial number, each in hexadecimal.
std::string GuidOf(const std::string& serial) {
    const std::uint32_t crc =
        Crc32::Of(ConstBytes(reinterpret_cast<const std::uint8_t*>(serial.data()), serial.size()));
    std::array<char, 13> guid{};
    (void)std::snprintf(guid.data(), guid.size(), "%04X%08X", static_cast<unsigned>(kUsbVendor),
                        static_cast<unsigned>(crc));
    return guid.data();
}

}  // namespace

U3vTexts U3vFunction::TextsOf(const DeviceOptions& device, const FirmwareStore& firmware) {
    return {device.vendor,
            device.model,
            device.serial,
            GuidOf(device.serial),
            firmware.State().running.Text(),
            "simulated",
            firmware.State().deviceId};
}

U3vFunction::U3vFunction(const DeviceOptions& device, const U3vOptions& options,
                         FirmwareStore& firmware, EventLog& events, DeviceFaults& faults,
                         Vanished vanished)
    : mDevice(device),
      mOptions(options),
      mFirmware(firmware),
      mEvents(events),
      mFaults(faults),
      mVanished(std::move(vanished)),
      mTexts(TextsOf(device, firmware)) {
    StoredDescription stored = StoredDescription::Of(device, Bus::kUsb3Vision);
    mBootstrap.emplace(
        mMemory, mOptions, mTexts, stored.bytes.size(), stored.fileName.ends_with(".zip"),
        [this] { return mFirmware.State().deviceId; },
        [this](const std::string& name) { return mFirmware.SetDeviceId(name); });
    mMemory.Add<ReadOnlyRegion>(std::uint64_t{features::kXml}, std::move(stored.bytes));
    mFeatures.emplace(
        mMemory, device, firmware, events, Bus::kUsb3Vision,
        FeatureRegisters::Hooks{[this] { mResetting = true; },
                                [this](const std::string& what, nlohmann::json fields) {
                                    fields["commands"] = mCommands;
                                    mEvents.Add("file_" + what, std::move(fields));
                                }});
    mFirmware.SetListener(this);
}

std::vector<std::uint8_t> U3vFunction::Descriptors() const {
    return U3vDescriptors();
}

std::optional<std::vector<std::uint8_t>> U3vFunction::Control(const Setup& setup) {
    mTexts.userName = mFirmware.State().deviceId;
    return AnswerStandardRequest(setup, U3vDescriptors(), StringsOf(mTexts));
}

UsbFunction::Transfer U3vFunction::Out(std::uint8_t endpoint, ConstBytes bytes) {
    if (endpoint != kControlOut || mStalled) {
        return Transfer::kStalled;
    }
    if (const Transfer arrived = Arrive(); arrived != Transfer::kDone) {
        return arrived;
    }
    if (mMute) {
        return Transfer::kDone;
    }
    const bool whole = bytes.size() >= kHeader &&
                       std::equal(kMagic.begin(), kMagic.end(), bytes.begin()) &&
                       LoadLittle<std::uint16_t>(bytes, 8) == bytes.size() - kHeader;
    if (!whole || bytes.size() > mOptions.maxCommand) {
        // A device cannot reply to a command that is too long, or to data that is not a command.
        mEvents.Add("u3v_bad_command", {{"bytes", bytes.size()}});
        return Transfer::kDone;
    }
    ++mCommands;
    NoteRepetition(bytes);

    Command command;
    command.wantsAck = (LoadLittle<std::uint16_t>(bytes, 4) & kRequestAck) != 0;
    command.code = LoadLittle<std::uint16_t>(bytes, 6);
    command.id = LoadLittle<std::uint16_t>(bytes, 10);
    command.payload = bytes.subspan(kHeader);
    std::vector<std::uint8_t> payload;
    const std::uint16_t status = Execute(command, payload);
    if (command.wantsAck && !mMute) {
        Schedule(command, status, payload);
    }
    // Taken, though the endpoint may stall from now on.
    return Transfer::kDone;
}

UsbFunction::Transfer U3vFunction::Arrive() {
    ++mSent;
    if (mOptions.stallEvery != 0 && mSent % mOptions.stallEvery == 0) {
        mStalled = true;
        mEvents.Add("usb_stalled", {{"command", mSent}});
        return Transfer::kStalled;
    }
    if (mOptions.protocolErrorEvery != 0 && mSent % mOptions.protocolErrorEvery == 0) {
        mEvents.Add("usb_protocol_error", {{"command", mSent}});
        return Transfer::kProtocolError;
    }
    return Transfer::kDone;
}

UsbFunction::Transfer U3vFunction::In(std::uint8_t endpoint, std::vector<std::uint8_t>& bytes) {
    if (endpoint != kControlIn) {
        return Transfer::kNotReady;
    }
    if (mStalled) {
        return Transfer::kStalled;
    }
    if (mAnswers.empty() || mAnswers.front().ready > Clock::now()) {
        return Transfer::kNotReady;
    }
    bytes = std::move(mAnswers.front().bytes);
    mAnswers.pop_front();
    if (LoadLittle<std::uint16_t>(bytes, 6) != kPendingAck) {
        Reached(FaultMoment::kCommand);
    }
    if (mAnswers.empty() && mResetting) {
        Vanish(Departure::kReset);
    }
    return Transfer::kDone;
}

std::optional<UsbFunction::Clock::time_point> U3vFunction::ReadyAt() const {
    return mAnswers.empty() ? std::nullopt : std::optional(mAnswers.front().ready);
}

void U3vFunction::ClearStall(std::uint8_t endpoint) {
    if (!mStalled) {
        return;
    }
    mEvents.Add("usb_stall_cleared", {{"endpoint", endpoint}});
    mStalled = mOptions.stallForGood;
    mAnswers.clear();
}

void U3vFunction::Released() {
    mEvents.Add("usb_released");
    mFeatures->Abandon();
}

void U3vFunction::PayloadGrew(std::uint64_t total) {
    if (mOptions.stallAtByte && total >= *mOptions.stallAtByte && !mStalled) {
        mStalled = true;
        mEvents.Add("usb_stalled", {{"byte", total}});
    }
    Suffer(mFaults.StrikeAtByte(total));
}

void U3vFunction::Reached(FaultMoment moment) {
    Suffer(mFaults.StrikeAt(moment));
}

void U3vFunction::Suffer(const std::vector<DeviceFault>& faults) {
    for (const DeviceFault fault : faults) {
        switch (fault) {
            case DeviceFault::kMute:
                mMute = true;
                break;
            case DeviceFault::kReboot:
                Vanish(Departure::kReboot);
                break;
            case DeviceFault::kVanish:
                Vanish(Departure::kUnplugged);
                break;
            case DeviceFault::kPause:
                mPauseEnd = Clock::now() + kFaultPause;
                break;
            case DeviceFault::kFail:
                mFirmware.FailOperation();
                break;
            case DeviceFault::kStall:
                mStalled = true;
                break;
            case DeviceFault::kLoseControl:  // of GigE Vision only
                break;
        }
    }
}

void U3vFunction::ResetRequested() {
    mResetting = true;
}

std::uint16_t U3vFunction::Execute(const Command& command, std::vector<std::uint8_t>& payload) {
    switch (command.code) {
        case kReadMemory:
            return Read(command.payload, payload);
        case kWriteMemory:
            return Write(command.payload, payload);
        default:
            return kNotImplemented;
    }
}

std::uint16_t U3vFunction::Read(ConstBytes command, std::vector<std::uint8_t>& payload) {
    if (command.size() != 12) {
        return kInvalidParameter;
    }
    const auto length = LoadLittle<std::uint16_t>(command, 10);
    if (length > mOptions.maxAck - kHeader) {
        return kInvalidParameter;
    }
    payload.resize(length);
    const MemoryStatus status = mMemory.ReadMemory(LoadLittle<std::uint64_t>(command, 0), payload);
    if (status != MemoryStatus::kOk) {
        payload.clear();
    }
    return CodeOf(status);
}

std::uint16_t U3vFunction::Write(ConstBytes command, std::vector<std::uint8_t>& payload) {
    if (command.size() < 8) {
        return kInvalidParameter;
    }
    const ConstBytes data = command.subspan(8);
    const MemoryStatus status = mMemory.WriteMemory(LoadLittle<std::uint64_t>(command, 0), data);
    if (status == MemoryStatus::kOk) {
        AppendLittle16(payload, 0);
        AppendLittle16(payload, data.size());
    }
    return CodeOf(status);
}

void U3vFunction::Schedule(const Command& command, std::uint16_t status,
                           const std::vector<std::uint8_t>& payload) {
    const auto ackCode = static_cast<std::uint16_t>(command.code + 1);
    Clock::time_point ready = std::max(Clock::now(), mPauseEnd) + mDevice.latency;
    milliseconds occupied = mFeatures->TakeOccupiedTime();
    if (mOptions.pendingEvery != 0 && mCommands % mOptions.pendingEvery == 0) {
        occupied += std::max(mOptions.pendingTime, mOptions.responseTime + milliseconds(1));
    }
    if (occupied > mOptions.responseTime) {
        std::vector<std::uint8_t> announced;
        AppendLittle16(announced, 0);
        AppendLittle16(announced, static_cast<std::size_t>(
                                      std::min(occupied.count() + 100, milliseconds::rep{65535})));
        mAnswers.push_back({Packet(kSuccess, kPendingAck, command.id, announced), ready});
        mEvents.Add("u3v_pending_ack", {{"milliseconds", occupied.count()}});
    }
    ready += occupied;
    if (mOptions.lateEvery != 0 && mCommands % mOptions.lateEvery == 0) {
        ready += mOptions.responseTime + mOptions.lateBy;
        mEvents.Add("u3v_late_ack");
    }
    mAnswers.push_back({Packet(status, ackCode, command.id, payload), ready});
}

void U3vFunction::NoteRepetition(ConstBytes packet) {
    // The id, in bytes 10 and 11, is what a repeated command may differ in.
    std::vector<std::uint8_t> content(packet.begin(), packet.begin() + 10);
    content.insert(content.end(), packet.begin() + kHeader, packet.end());
    if (!mAnswers.empty() && content == mLastCommand) {
        mEvents.Add("u3v_command_repeated");
    }
    mLastCommand = std::move(content);
}

void U3vFunction::Vanish(Departure departure) {
    if (mPresent.exchange(false)) {
        mEvents.Add("usb_unplugged", {{"returns", departure != Departure::kUnplugged}});
        mVanished(departure);
    }
}

}  // namespace simulator
