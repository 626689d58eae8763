#include "GvcpPort.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>
#include <internal/NxSystem/NetworkInterface.h>
#include <internal/NxSystem/UdpSocket.h>

#include "GvcpDescription.h"

namespace {

using std::chrono::milliseconds;

// Bootstrap registers (GigE Vision 2.0, section 28).
constexpr std::uint32_t kCapability = 0x0934;
constexpr std::uint32_t kHeartbeatTimeout = 0x0938;
constexpr std::uint32_t kConfiguration = 0x0954;
constexpr std::uint32_t kPendingTimeout = 0x0958;
constexpr std::uint32_t kControlChannelPrivilege = 0x0A00;

// Of the capability register.
constexpr std::uint32_t kConcatenation = 0x1;
constexpr std::uint32_t kCanSendPendingAck = 0x20;
// Of the configuration register.
constexpr std::uint32_t kPendingAckEnabled = 0x2;
// Of the privilege register.
constexpr std::uint32_t kControlAccess = 0x2;
constexpr std::uint32_t kExclusiveAccess = 0x1;

constexpr milliseconds kConnectTimeout{5000};
// A device keeps the controller of a program that died until its heartbeat timeout, usually 3 s,
// and not every device looks at its clock all the time.
constexpr milliseconds kShortestRefusal{3500};
constexpr milliseconds kLongestRefusal{15000};
constexpr milliseconds kHeartbeatMargin{500};
constexpr milliseconds kRefusalPause{250};
constexpr milliseconds kRestoreTimeout{200};
constexpr milliseconds kReleaseTimeout{500};
constexpr milliseconds kDefaultHeartbeatTimeout{3000};
constexpr milliseconds kShortestHeartbeat{50};
constexpr milliseconds kLongestHeartbeat{5000};

bool HasControl(std::uint32_t privilege) {
    return (privilege & (kControlAccess | kExclusiveAccess)) != 0;
}

}  // namespace

GvcpPort::GvcpPort(std::unique_ptr<GvcpChannel> channel)
    : mDeviceName(channel->DeviceName()),
      mChannel(std::move(channel)),
      mSpace(*mChannel, mDeviceName) {}

GvcpPort::~GvcpPort() {
    {
        const std::lock_guard lock(mMutex);
        mStops = true;
    }
    mStopSignal.notify_all();
    if (mHeartbeat.joinable()) {
        mHeartbeat.join();
    }
    if (mChannel->WasCutShort()) {
        mChannel->Resume();
    }
    if (mIsController && mChannel->IsAlive()) {
        PassDescriptionOn();
        if (mConfiguration.has_value()) {
            mChannel->SetDeadline(mChannel->Now() + kRestoreTimeout);
            (void)mSpace.WriteNumber(kConfiguration, *mConfiguration);
            // Such a short timeout may miss a device that does respond.
            mChannel->Resume();
        }
        mChannel->SetDeadline(mChannel->Now() + kReleaseTimeout);
        // A device that misses it gives the control up when the heartbeat stays away.
        (void)mSpace.WriteNumber(kControlChannelPrivilege, 0);
    }
}

// A device that is still controlled was not restarted meanwhile.
void GvcpPort::PassDescriptionOn() {
    if (mDescription == nullptr) {
        return;
    }
    mChannel->SetDeadline(mChannel->Now() + kReleaseTimeout);
    std::uint32_t privilege = 0;
    if (mSpace.ReadNumber(kControlChannelPrivilege, privilege).IsOK() && HasControl(privilege)) {
        KeepDescription(std::move(mDescription));
    }
    // Control is given up all the same.
    mChannel->Resume();
}

NxResult GvcpPort::Start(milliseconds timeout) {
    const std::lock_guard lock(mMutex);
    NX_RETURN_IF_FAILED(TakeControl(timeout));
    mChannel->SetDeadline(mChannel->Now() + timeout);
    std::uint32_t capability = 0;
    NxResult result = mSpace.ReadNumber(kCapability, capability);
    if (!mChannel->IsAlive()) {
        return result;
    }
    // Optional registers: a device without them combines nothing and has the usual timeout.
    mSpace.CombineRegisters(result.IsOK() && (capability & kConcatenation) != 0);
    if (result.IsOK() && (capability & kCanSendPendingAck) != 0) {
        EnablePendingAck();
        if (!mChannel->IsAlive()) {
            return mChannel->Failure();
        }
    }
    const milliseconds deviceTimeout = ReadHeartbeatTimeout();
    if (!mChannel->IsAlive()) {
        return mChannel->Failure();
    }
    mHeartbeatInterval = std::clamp(deviceTimeout / 3, kShortestHeartbeat, kLongestHeartbeat);
    mChannel->KeepAlive(kControlChannelPrivilege, mHeartbeatInterval);
    try {
        mHeartbeat = std::thread(&GvcpPort::KeepControl, this);
    } catch (const std::system_error&) {
        return NxResult(kNxSocket, "Cannot keep control of " + mDeviceName +
                                       ": cannot start the heartbeat thread");
    }
    return {};
}

// Devices are silent while they execute a long command, unless they are told that their
// controller understands PENDING_ACK.
void GvcpPort::EnablePendingAck() {
    std::uint32_t milliseconds = 0;
    if (mSpace.ReadNumber(kPendingTimeout, milliseconds).IsOK()) {
        mChannel->SetPendingTimeout(std::chrono::milliseconds(milliseconds));
    }
    std::uint32_t configuration = 0;
    if (mSpace.ReadNumber(kConfiguration, configuration).IsOK() &&
        (configuration & kPendingAckEnabled) == 0 &&
        mSpace.WriteNumber(kConfiguration, configuration | kPendingAckEnabled).IsOK()) {
        mConfiguration = configuration;
    }
}

milliseconds GvcpPort::ReadHeartbeatTimeout() {
    std::uint32_t timeout = 0;
    return mSpace.ReadNumber(kHeartbeatTimeout, timeout).IsOK() && timeout > 0
               ? milliseconds(timeout)
               : kDefaultHeartbeatTimeout;
}

NxResult GvcpPort::TakeControl(milliseconds timeout) {
    const GvcpChannel::Clock::time_point start = mChannel->Now();
    std::optional<milliseconds> longest;
    while (true) {
        mChannel->SetDeadline(mChannel->Now() + timeout);
        NxResult result = mSpace.WriteNumber(kControlChannelPrivilege, kControlAccess);
        if (result.IsOK()) {
            mIsController = true;
            return {};
        }
        if (!mChannel->IsAlive()) {
            return result;
        }
        if (result.GetCode() != kNxAccessDenied) {
            return NxResult(result.GetCode(), "Cannot control " + mDeviceName + " (GVCP " +
                                                  GvcpPacket::StatusName(mChannel->Status()) + ")");
        }
        const std::uint16_t status = mChannel->Status();
        if (!longest.has_value()) {
            longest = std::clamp(ReadHeartbeatTimeout() + kHeartbeatMargin, kShortestRefusal,
                                 kLongestRefusal);
        }
        if (!mChannel->IsAlive()) {
            return mChannel->Failure();
        }
        if (mChannel->Now() + kRefusalPause >= start + *longest) {
            return NxResult(kNxAccessDenied, "Cannot control " + mDeviceName +
                                                 ": another application has control (GVCP " +
                                                 GvcpPacket::StatusName(status) + ")");
        }
        mChannel->Pause(kRefusalPause);
    }
}

// A thread that sends command after command would otherwise get the mutex again before one that
// waits for it wakes up.
std::unique_lock<std::mutex> GvcpPort::TakeTurn() {
    const std::lock_guard turn(mTurn);
    return std::unique_lock(mMutex);
}

// Without the mutex: whoever opens another connection must not wait for a long command.
bool GvcpPort::IsAlive() const {
    return mChannel->IsAlive();
}

NxResult GvcpPort::ReadMemory(std::uint64_t address, std::span<std::byte> buffer) {
    const auto turn = TakeTurn();
    return mSpace.ReadBytes(address, buffer);
}

NxResult GvcpPort::WriteMemory(std::uint64_t address, std::span<const std::byte> data) {
    const auto turn = TakeTurn();
    return ExplainRefusedWrite(mSpace.WriteBytes(address, data));
}

NxResult GvcpPort::ReadRegisters(std::span<Register> registers) {
    const auto turn = TakeTurn();
    return mSpace.ReadRegisters(registers);
}

NxResult GvcpPort::WriteRegisters(std::span<const Register> registers) {
    const auto turn = TakeTurn();
    return ExplainRefusedWrite(mSpace.WriteRegisters(registers));
}

// A refused write is how a device shows that it has another controller by now; its privilege
// register then still reads as controlled.
NxResult GvcpPort::ExplainRefusedWrite(NxResult refusal) {
    if (refusal.GetCode() != kNxAccessDenied || !mChannel->IsAlive()) {
        return refusal;
    }
    std::uint32_t privilege = 0;
    NxResult read = mSpace.ReadNumber(kControlChannelPrivilege, privilege);
    if (!mChannel->IsAlive()) {
        return read;
    }
    if (read.IsOK() && !HasControl(privilege)) {
        return LoseControl("the device restarted or missed the heartbeat");
    }
    NxResult again = mSpace.WriteNumber(kControlChannelPrivilege, kControlAccess);
    if (!mChannel->IsAlive()) {
        return again;
    }
    if (again.GetCode() == kNxAccessDenied) {
        return LoseControl("another application took control (GVCP " +
                           GvcpPacket::StatusName(GvcpPacket::kStatusAccessDenied) + ")");
    }
    return refusal;
}

NxResult GvcpPort::LoseControl(const std::string& sign) {
    mIsController = false;
    mChannel->Fail(NxResult(kNxControlLost, "Lost control of " + mDeviceName + ": " + sign));
    return mChannel->Failure();
}

void GvcpPort::KeepControl() {
    std::unique_lock lock(mMutex);
    while (mChannel->IsAlive()) {
        const auto wait = std::clamp<GvcpChannel::Clock::duration>(
            mHeartbeatInterval - IdleTime(), milliseconds(1), mHeartbeatInterval);
        if (mStopSignal.wait_for(lock, wait, [this] { return mStops; })) {
            return;
        }
        if (mChannel->IsAlive() && IdleTime() >= mHeartbeatInterval) {
            (void)CheckControl();
        }
    }
}

// A write that was carried out shows both ends that control goes on, and so does the privilege
// register. Other reads do not count: not every device takes them for a heartbeat, and none of them
// shows that control was lost.
GvcpChannel::Clock::duration GvcpPort::IdleTime() const {
    return mChannel->Now() - std::max(mChannel->LastWrite(), mLastCheck);
}

NxResult GvcpPort::CheckControl() {
    std::uint32_t privilege = 0;
    const bool wasRead = mSpace.ReadNumber(kControlChannelPrivilege, privilege).IsOK();
    mLastCheck = mChannel->Now();
    if (!mChannel->IsAlive()) {
        return mChannel->Failure();
    }
    return wasRead && !HasControl(privilege)
               ? LoseControl("the device restarted or missed the heartbeat")
               : NxResult();
}

NxResult GvcpPort::Probe() {
    const auto turn = TakeTurn();
    return CheckControl();
}

NxResult GvcpPort::ReadDescription(std::string& xml) {
    const auto turn = TakeTurn();
    std::shared_ptr<const DescriptionCopy> copy = EarlierDescription();
    NxResult result = GvcpDescription(*mChannel, mSpace, mDeviceName).Read(copy);
    mChannel->ClearDeadline();
    NX_RETURN_IF_FAILED(result);
    xml = copy->xml;
    mDescription = std::move(copy);
    return {};
}

NxResult OpenGvcpPort(const ConnectionId& id, std::shared_ptr<DevicePort>& port) {
    auto socket = std::make_unique<UdpSocket>();
    NX_RETURN_IF_FAILED(socket->Open(id.interfaceName, 0));
    std::string name = FormatAddress(id.address);
    if (!id.interfaceName.empty()) {
        name += " on " + id.interfaceName;
    }
    auto opened = std::make_shared<GvcpPort>(std::make_unique<GvcpChannel>(
        std::move(socket), Endpoint{.address = id.address, .port = GvcpPacket::kPort}, name));
    NX_RETURN_IF_FAILED(opened->Start(kConnectTimeout));
    port = std::move(opened);
    return {};
}
