#include "GvcpService.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <nlohmann/json.hpp>

#include "GvcpPacket.h"

namespace simulator {

namespace {

constexpr std::uint32_t kLimitedBroadcast = 0xffffffffU;

bool IsCommand(const std::vector<std::uint8_t>& bytes, gvcp::Command command) {
    return bytes.size() >= gvcp::kHeaderSize && LoadBig<std::uint16_t>(bytes, 2) == command;
}

bool IsDiscovery(const std::vector<std::uint8_t>& bytes) {
    return IsCommand(bytes, gvcp::kDiscovery);
}

IpAddress WhereIs(const NetworkPlace& place) {
    const std::uint32_t address = ParseAddress(place.address).value_or(0);
    return {address, place.mask != 0 ? place.mask : FindSubnet(place.interfaceName, address).mask,
            place.gateway};
}

}  // namespace

GvcpService::GvcpService(DeviceContext context, CommandCounters& counters)
    : mContext(std::move(context)), mCounters(counters) {}

GvcpService::~GvcpService() {
    Stop();
}

bool GvcpService::Start(const NetworkPlace& place, std::string& why) {
    if (!OpenSockets(place, why)) {
        mSockets.clear();
        return false;
    }
    if (!mWake.emplace().IsUsable()) {
        why = std::string("cannot serve GVCP: ") + std::strerror(errno);
        mSockets.clear();
        return false;
    }
    const DeviceOptions& options = mContext.options;
    mWhere = WhereIs(place);
    mReceived.emplace(options.faults.received, options.faults.seed);
    mSent.emplace(options.faults.sent, ~options.faults.seed);
    mHandler = std::make_unique<GvcpHandler>(options, mContext.firmware, mContext.events, mCounters,
                                             mContext.resetRequested, mWhere, *mContext.ip);
    mCommands = 0;
    mDiscoveries = 0;
    mLate.clear();
    if (mForceIpCommand) {
        const Datagram command = std::move(*mForceIpCommand);
        mForceIpCommand.reset();
        mHasMoved = true;
        Serve(command);
        mHasMoved = false;
    }
    mThread = std::thread(&GvcpService::Run, this);
    return true;
}

bool GvcpService::OpenSockets(const NetworkPlace& place, std::string& why) {
    const std::uint32_t address = ParseAddress(place.address).value_or(0);
    std::vector<std::uint32_t> broadcasts{kLimitedBroadcast};
    const std::uint32_t directed = place.mask != 0
                                       ? address | ~place.mask
                                       : FindSubnet(place.interfaceName, address).broadcast;
    if (directed != kLimitedBroadcast && directed != address) {
        broadcasts.push_back(directed);
    }
    if (!mSockets.emplace_back().Open(place.interfaceName, address, gvcp::kPort, false, why)) {
        return false;
    }
    return std::all_of(broadcasts.begin(), broadcasts.end(), [&](std::uint32_t broadcast) {
        return mSockets.emplace_back().Open(place.interfaceName, broadcast, gvcp::kPort, true, why);
    });
}

void GvcpService::Stop() {
    if (!mThread.joinable()) {
        return;
    }
    mWake->Signal();
    mThread.join();
    mSockets.clear();
    mHandler->Abandon();
    mHandler.reset();
}

void GvcpService::Run() {
    std::vector<int> descriptors;
    for (const BoundSocket& socket : mSockets) {
        descriptors.push_back(socket.Descriptor());
    }
    while (mWake->Wait(descriptors, NextEvent())) {
        for (const BoundSocket& socket : mSockets) {
            Drain(socket);
        }
        const auto now = Clock::now();
        for (const Datagram& datagram : mReceived->TakeDue(now)) {
            Serve(datagram);
        }
        SendDue();
        mHandler->Tick(Clock::now());
    }
}

GvcpService::Clock::time_point GvcpService::NextEvent() const {
    constexpr std::chrono::milliseconds kTick{50};  // how often the heartbeat is looked at
    Clock::time_point next = Clock::now() + kTick;
    for (const auto& due : {mReceived->NextDue(), mSent->NextDue()}) {
        next = std::min(next, due.value_or(next));
    }
    return mLate.empty() ? next : std::min(next, mLate.front().first);
}

void GvcpService::Drain(const BoundSocket& socket) {
    // Not without end: others are waiting too.
    constexpr int kAtATime = 64;
    for (int i = 0; i < kAtATime; ++i) {
        std::optional<Datagram> datagram = socket.Receive();
        if (!datagram) {
            return;
        }
        // Only these may be broadcast; other commands are for one device.
        if (&socket != &mSockets.front() && !IsDiscovery(datagram->bytes) &&
            !IsCommand(datagram->bytes, gvcp::kForceIp)) {
            continue;
        }
        for (const Datagram& arrived : mReceived->Pass(std::move(*datagram), Clock::now())) {
            Serve(arrived);
        }
    }
}

bool GvcpService::IsSwallowed(const Datagram& datagram) {
    const FaultOptions& faults = mContext.options.faults;
    if (IsDiscovery(datagram.bytes)) {
        if (mDiscoveries == faults.discoveriesLost) {
            return false;
        }
        ++mDiscoveries;
        return true;
    }
    ++mCommands;
    if (faults.muteAfterCommands && mCommands == *faults.muteAfterCommands + 1) {
        mContext.events.Add("fault", {{"kind", "mute"}, {"commands", mCommands - 1}});
    }
    return faults.muteAfterCommands && mCommands > *faults.muteAfterCommands;
}

void GvcpService::Serve(const Datagram& datagram) {
    if (mContext.muted || IsSwallowed(datagram)) {
        return;
    }
    const Clock::time_point arrived = Clock::now();
    std::optional<GvcpReply> reply = mHandler->Handle(datagram.peer, datagram.bytes, arrived);
    if (mContext.controlLost) {
        mHandler->GiveControlAway();
    }
    if (!reply) {
        NoteAnswered(datagram);
        return;
    }
    if (reply->moveTo && !Move(datagram, *reply->moveTo)) {
        return;
    }
    const Peer receiver = AckReceiver(datagram);
    if (IsDiscovery(datagram.bytes) && mContext.options.faults.discoveryDelay.count() > 0) {
        mLate.emplace_back(Clock::now() + mContext.options.faults.discoveryDelay,
                           Datagram{receiver, std::move(reply->acknowledge)});
        return;
    }
    for (std::vector<std::uint8_t>& packet : reply->first) {
        Send({datagram.peer, std::move(packet)});
    }
    if (reply->delay.count() > 0 && !WaitUntil(arrived + reply->delay)) {
        return;
    }
    Send({receiver, std::move(reply->acknowledge)});
    mHandler->NoteAcknowledged(datagram.peer, Clock::now());
    NoteAnswered(datagram);
}

// A device takes the time that it is said to take; a thread that sleeps until then is woken later.
bool GvcpService::WaitUntil(Clock::time_point time) const {
    constexpr std::chrono::microseconds kWakingUp{60};
    if (!mWake->Wait({}, time - kWakingUp)) {
        return false;
    }
    while (Clock::now() < time) {
    }
    return true;
}

void GvcpService::NoteAnswered(const Datagram& datagram) {
    if (!IsDiscovery(datagram.bytes) && !mContext.muted) {
        mContext.commandAnswered();
        if (mContext.controlLost) {
            mHandler->GiveControlAway();
        }
    }
}

void GvcpService::Send(Datagram datagram) {
    // A device that fell silent while executing a command does not answer that one either.
    if (mContext.muted) {
        return;
    }
    for (const Datagram& leaving : mSent->Pass(std::move(datagram), Clock::now())) {
        mSockets.front().Send(leaving);
    }
}

Peer GvcpService::AckReceiver(const Datagram& command) const {
    const bool isOutside = ((command.peer.address ^ mWhere.address) & mWhere.mask) != 0;
    const bool mayBroadcast = (command.bytes[1] & gvcp::kBroadcastAckFlag) != 0;
    return isOutside && mayBroadcast ? Peer{kLimitedBroadcast, command.peer.port} : command.peer;
}

bool GvcpService::Move(const Datagram& command, const IpAddress& wanted) {
    const bool isThere = wanted == mWhere || (mHasMoved && wanted.address == 0);
    if (!isThere && !mHasMoved) {
        mForceIpCommand = command;
        mContext.moveRequested(wanted);
    }
    return isThere && (command.bytes[1] & gvcp::kAcknowledgeFlag) != 0;
}

void GvcpService::SendDue() {
    while (!mLate.empty() && mLate.front().first <= Clock::now()) {
        Send(std::move(mLate.front().second));
        mLate.erase(mLate.begin());
    }
    for (const Datagram& leaving : mSent->TakeDue(Clock::now())) {
        mSockets.front().Send(leaving);
    }
}

}  // namespace simulator
