#include "GvcpHandler.h"

#include <algorithm>
#include <array>
#include <utility>

#include <nlohmann/json.hpp>

#include "GvcpPacket.h"

namespace simulator {

namespace {

using Packet = std::vector<std::uint8_t>;

// Writes acknowledge with a reserved half-word and the index of the register, or the number of
// bytes, at which they ended.
Packet WriteAcknowledge(std::uint16_t status, std::uint16_t command, std::uint16_t id,
                        std::size_t index) {
    std::array<std::uint8_t, 4> payload{};
    StoreBig<std::uint16_t>(payload, 2, static_cast<std::uint16_t>(index));
    return gvcp::Acknowledge(status, command, id, payload);
}

}  // namespace

GvcpHandler::GvcpHandler(const DeviceOptions& options, FirmwareStore& firmware, EventLog& events,
                         CommandCounters& counters, std::function<void()> resetRequested,
                         const IpAddress& where, IpSettings& ip)
    : mOptions(options),
      mEvents(events),
      mCounters(counters),
      mBootstrap(mMemory, options, firmware, where, ip),
      mFeatures(mMemory, options, firmware, events, Bus::kGigEVision,
                {std::move(resetRequested),
                 [this](const std::string& what, nlohmann::json fields) {
                     fields["commands"] = mCounters.All();
                     mEvents.Add("file_" + what, std::move(fields));
                 }}),
      mChance(options.faults.seed) {}

std::optional<GvcpReply> GvcpHandler::Handle(const Peer& peer, ConstBytes datagram,
                                             Clock::time_point now) {
    if (datagram.size() < gvcp::kHeaderSize || datagram[0] != gvcp::kKey) {
        return std::nullopt;
    }
    const bool acknowledge = (datagram[1] & gvcp::kAcknowledgeFlag) != 0;
    const Request request{peer, LoadBig<std::uint16_t>(datagram, 2),
                          LoadBig<std::uint16_t>(datagram, 6), datagram.subspan(gvcp::kHeaderSize),
                          now};
    if (request.command == gvcp::kDiscovery) {
        CountCommand(request);
        return GvcpReply{{},
                         {},
                         gvcp::Acknowledge(gvcp::kSuccess, request.command, request.id,
                                           mBootstrap.DiscoveryPayload())};
    }
    // Nothing is streamed, so nothing is resent.
    if (mOptions.profile == Profile::kLoader || request.command == gvcp::kPacketResend) {
        CountCommand(request);
        return std::nullopt;
    }
    if (LoadBig<std::uint16_t>(datagram, 4) != request.payload.size() || request.id == 0) {
        CountCommand(request);
        GvcpReply refusal;
        refusal.acknowledge = gvcp::Acknowledge(gvcp::kInvalidHeader, request.command, request.id);
        // A FORCEIP_CMD may be for another device.
        return acknowledge && request.command != gvcp::kForceIp ? std::optional(refusal)
                                                                : std::nullopt;
    }
    if (request.command == gvcp::kForceIp) {
        std::optional<GvcpReply> reply = ForceIp(request);
        return acknowledge || (reply && reply->moveTo) ? reply : std::nullopt;
    }
    mControl.Heard(peer, now);
    if (const Packet* const answered = mAnswered.Find(peer, request.id, now)) {
        mCounters.Count("REPEATED");
        GvcpReply repeated;
        repeated.acknowledge = *answered;
        return repeated;
    }
    const GvcpReply reply = Answer(request);
    return acknowledge ? std::optional(reply) : std::nullopt;
}

// GigE Vision 2.0, section 16.2: silently ignored by every device but the one with that MAC
// address, and while an application is in control.
std::optional<GvcpReply> GvcpHandler::ForceIp(const Request& request) {
    constexpr std::size_t kSize = 56;
    constexpr std::uint64_t kMacMask = 0xffff'ffff'ffffU;
    CountCommand(request);
    if (request.payload.size() != kSize ||
        (LoadBig<std::uint64_t>(request.payload, 0) & kMacMask) != ParseMac(mOptions.mac)) {
        return std::nullopt;
    }
    if (mControl.Holder()) {
        mEvents.Add("force_ip_ignored", {{"why", "an application is in control"}});
        return std::nullopt;
    }
    const IpAddress wanted{LoadBig<std::uint32_t>(request.payload, 20),
                           LoadBig<std::uint32_t>(request.payload, 36),
                           LoadBig<std::uint32_t>(request.payload, 52)};
    GvcpReply reply;
    if (wanted.address != 0 && !wanted.IsUsable()) {
        reply.acknowledge = gvcp::Acknowledge(gvcp::kInvalidParameter, request.command, request.id);
        return reply;
    }
    reply.acknowledge = gvcp::Acknowledge(gvcp::kSuccess, request.command, request.id);
    reply.moveTo = wanted;
    return reply;
}

GvcpReply GvcpHandler::Answer(const Request& request) {
    CountCommand(request);
    GvcpReply reply;
    const Packet* const before = mAnswered.Last(request.peer);
    if (mChance.Happens(mOptions.faults.busyPercent)) {
        reply.acknowledge = gvcp::Acknowledge(gvcp::kBusy, request.command, request.id);
        reply.delay = mOptions.latency;
        return reply;
    }
    reply.acknowledge = Carry(request);
    reply.delay = mOptions.latency + mFeatures.TakeOccupiedTime();
    if (reply.delay > mBootstrap.PendingTimeout() && mBootstrap.IsPendingAckEnabled()) {
        constexpr std::chrono::milliseconds kMargin{100};
        const auto announced = std::chrono::ceil<std::chrono::milliseconds>(reply.delay) + kMargin;
        mCounters.Count("PENDING_ACK");
        reply.first.push_back(WriteAcknowledge(
            gvcp::kSuccess, gvcp::kPending, request.id,
            static_cast<std::size_t>(std::min<std::int64_t>(announced.count(), 0xffff))));
    }
    if (before != nullptr && mChance.Happens(mOptions.faults.staleAckPercent)) {
        mEvents.Add("stale_ack", {{"id", LoadBig<std::uint16_t>(*before, 6)}});
        reply.first.push_back(*before);
    }
    // BUSY is not remembered: a resent command must not get it forever.
    if (LoadBig<std::uint16_t>(reply.acknowledge, 0) != gvcp::kBusy) {
        mAnswered.Remember(request.peer, request.id, reply.acknowledge, request.now);
    }
    return reply;
}

Packet GvcpHandler::Carry(const Request& request) {
    switch (request.command) {
        case gvcp::kReadRegister:
            return ReadRegisters(request);
        case gvcp::kWriteRegister:
            return WriteRegisters(request);
        case gvcp::kReadMemory:
            return ReadMemory(request);
        case gvcp::kWriteMemory:
            return WriteMemory(request);
        default:
            return gvcp::Acknowledge(gvcp::kNotImplemented, request.command, request.id);
    }
}

Packet GvcpHandler::ReadRegisters(const Request& request) {
    const std::size_t size = request.payload.size();
    if (size == 0 || size % 4 != 0 || size > gvcp::kMaxPayload ||
        (size > 4 && !mOptions.concatenation)) {
        return gvcp::Acknowledge(gvcp::kInvalidParameter, request.command, request.id);
    }
    // What was read before the register that failed is still given.
    Packet values;
    std::uint16_t status = gvcp::kSuccess;
    for (std::size_t at = 0; at < size && status == gvcp::kSuccess; at += 4) {
        const auto address = LoadBig<std::uint32_t>(request.payload, at);
        std::array<std::uint8_t, 4> value{};
        if (!mControl.MayRead(request.peer)) {
            status = gvcp::kAccessDenied;
        } else if (address % 4 != 0) {
            status = gvcp::kBadAlignment;
        } else {
            status = CodeOf(mMemory.ReadMemory(address, value));
            SwapIfConverted(address, value);
        }
        if (status == gvcp::kSuccess) {
            values.insert(values.end(), value.begin(), value.end());
        }
    }
    return gvcp::Acknowledge(status, request.command, request.id, values);
}

Packet GvcpHandler::WriteRegisters(const Request& request) {
    constexpr std::size_t kPairSize = 8;
    const std::size_t size = request.payload.size();
    if (size == 0 || size % kPairSize != 0 || size > gvcp::kMaxPayload ||
        (size > kPairSize && !mOptions.concatenation)) {
        return WriteAcknowledge(gvcp::kInvalidParameter, request.command, request.id, 0);
    }
    std::size_t index = 0;
    for (; index < size / kPairSize; ++index) {
        const ConstBytes pair = request.payload.subspan(index * kPairSize, kPairSize);
        const auto address = LoadBig<std::uint32_t>(pair, 0);
        std::array<std::uint8_t, 4> value{pair[4], pair[5], pair[6], pair[7]};
        SwapIfConverted(address, value);
        const std::uint16_t status = WriteWords(request, address, value);
        if (status != gvcp::kSuccess) {
            return WriteAcknowledge(status, request.command, request.id, index);
        }
    }
    return WriteAcknowledge(gvcp::kSuccess, request.command, request.id, index);
}

void GvcpHandler::SwapIfConverted(std::uint32_t address, Bytes value) const {
    if (mOptions.registerCommandsSwap && address >= gvcp::kFirstManufacturerAddress) {
        std::reverse(value.begin(), value.end());
    }
}

Packet GvcpHandler::ReadMemory(const Request& request) {
    constexpr std::size_t kCommandSize = 8;
    std::uint16_t status = gvcp::kSuccess;
    std::uint32_t address = 0;
    std::uint16_t count = 0;
    if (request.payload.size() == kCommandSize) {
        address = LoadBig<std::uint32_t>(request.payload, 0);
        count = LoadBig<std::uint16_t>(request.payload, 6);
    }
    Packet answer(4 + std::size_t{count});
    if (count == 0 || count % 4 != 0 || count > gvcp::kMaxMemoryData) {
        status = gvcp::kInvalidParameter;
    } else if (address % 4 != 0) {
        status = gvcp::kBadAlignment;
    } else if (!mControl.MayRead(request.peer)) {
        status = gvcp::kAccessDenied;
    } else {
        StoreBig(Bytes(answer), 0, address);
        status = CodeOf(mMemory.ReadMemory(address, Bytes(answer).subspan(4)));
    }
    if (status != gvcp::kSuccess) {
        answer.clear();
    }
    return gvcp::Acknowledge(status, request.command, request.id, answer);
}

Packet GvcpHandler::WriteMemory(const Request& request) {
    const std::size_t size = request.payload.size();
    if (size <= 4 || size % 4 != 0 || size - 4 > gvcp::kMaxMemoryData) {
        return WriteAcknowledge(gvcp::kInvalidParameter, request.command, request.id, 0);
    }
    const std::uint16_t status =
        WriteWords(request, LoadBig<std::uint32_t>(request.payload, 0), request.payload.subspan(4));
    return WriteAcknowledge(status, request.command, request.id,
                            status == gvcp::kSuccess ? size - 4 : 0);
}

std::uint16_t GvcpHandler::WriteWords(const Request& request, std::uint32_t address,
                                      ConstBytes bytes) {
    if (address % 4 != 0) {
        return gvcp::kBadAlignment;
    }
    if (address == GvcpBootstrap::kControlPrivilege && bytes.size() == 4) {
        return WriteControl(request, LoadBig<std::uint32_t>(bytes, 0));
    }
    if (!mControl.MayWrite(request.peer)) {
        return gvcp::kAccessDenied;
    }
    return CodeOf(mMemory.WriteMemory(address, bytes));
}

std::uint16_t GvcpHandler::WriteControl(const Request& request, std::uint32_t value) {
    if (mOptions.faults.refuseControl && value != 0) {
        mEvents.Add("control_refused", {{"peer", request.peer.Text()}});
        return gvcp::kAccessDenied;
    }
    const bool held = mControl.Holder().has_value();
    if (!mControl.Write(request.peer, value, request.now)) {
        return gvcp::kAccessDenied;
    }
    if (mControl.Holder()) {
        mBootstrap.ShowControl(mControl.Value(), request.peer.address, request.peer.port);
        mEvents.Add("control_taken",
                    {{"peer", request.peer.Text()}, {"privilege", mControl.Value()}});
    } else if (held) {
        ControlEnded("released");
    }
    return gvcp::kSuccess;
}

void GvcpHandler::ControlEnded(const char* why) {
    mBootstrap.ShowControl(0, 0, 0);
    mFeatures.Abandon();
    mEvents.Add("control_ended", {{"why", why}, {"commands", mCounters.All()}});
}

void GvcpHandler::Tick(Clock::time_point now) {
    if (!mBootstrap.IsHeartbeatDisabled() && mControl.Expire(now, mBootstrap.HeartbeatTimeout())) {
        ControlEnded("heartbeat timeout");
    }
}

void GvcpHandler::GiveControlAway() {
    // An address of the link-local range, which no test has on its own network.
    constexpr Peer kAnother{0xa9fe'fefeU, 49152};
    if (mControl.Holder() == kAnother) {
        return;
    }
    ControlEnded("taken over");
    mControl.GiveTo(kAnother);
    mBootstrap.ShowControl(mControl.Value(), kAnother.address, kAnother.port);
    mEvents.Add("control_taken", {{"peer", kAnother.Text()}, {"privilege", mControl.Value()}});
}

void GvcpHandler::Abandon() {
    if (mControl.Holder()) {
        mControl.Release();
        ControlEnded("power off");
    }
}

void GvcpHandler::CountCommand(const Request& request) {
    const auto kind = [&request]() -> const char* {
        switch (request.command) {
            case gvcp::kDiscovery:
                return "DISCOVERY";
            case gvcp::kForceIp:
                return "FORCEIP";
            case gvcp::kPacketResend:
                return "PACKETRESEND";
            case gvcp::kReadRegister:
                return request.payload.size() == 4 && LoadBig<std::uint32_t>(request.payload, 0) ==
                                                          GvcpBootstrap::kControlPrivilege
                           ? "HEARTBEAT"
                           : "READREG";
            case gvcp::kWriteRegister:
                return "WRITEREG";
            case gvcp::kReadMemory:
                return "READMEM";
            case gvcp::kWriteMemory:
                return "WRITEMEM";
            default:
                return "OTHER";
        }
    };
    mCounters.Count(kind());
}

}  // namespace simulator
