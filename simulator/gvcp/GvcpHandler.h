#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "AnsweredCommands.h"
#include "CommandCounters.h"
#include "ControlPrivilege.h"
#include "GvcpBootstrap.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"
#include "simulator/network/Chance.h"
#include "simulator/registers/DeviceMemory.h"
#include "simulator/registers/FeatureRegisters.h"

namespace simulator {

/// What a device sends for one command.
struct GvcpReply {
    std::vector<std::vector<std::uint8_t>> first;  ///< sent at once, e.g. PENDING_ACK
    std::chrono::microseconds delay{0};            ///< before the ack
    std::vector<std::uint8_t> acknowledge;
    /// Where the device is to be before it acknowledges; address 0: where it is at power-on.
    std::optional<IpAddress> moveTo = {};
};

/// A GigE Vision device's answers to GVCP datagrams, without sockets: given what came from whom and
/// when, it says what goes back. Any bytes may come. Used by one thread.
class GvcpHandler {
  public:
    using Clock = ControlPrivilege::Clock;

    /// @param where where the device is
    /// @param ip outlives this object
    GvcpHandler(const DeviceOptions& options, FirmwareStore& firmware, EventLog& events,
                CommandCounters& counters, std::function<void()> resetRequested,
                const IpAddress& where, IpSettings& ip);

    /// @return nothing when the datagram is not to be answered
    [[nodiscard]] std::optional<GvcpReply> Handle(const Peer& peer, ConstBytes datagram,
                                                  Clock::time_point now);

    /// Notes that a command was acknowledged: an application that waited for it had nothing to say
    /// meanwhile, so its heartbeat counts from now.
    void NoteAcknowledged(const Peer& peer, Clock::time_point now) { mControl.Heard(peer, now); }

    /// Ends the control of an application that has not been heard of for the heartbeat timeout.
    void Tick(Clock::time_point now);

    /// Another application takes control from the one that has it, and keeps it.
    void GiveControlAway();

    /// The device loses power: control and open files are gone.
    void Abandon();

  private:
    struct Request {
        const Peer& peer;
        std::uint16_t command;
        std::uint16_t id;
        ConstBytes payload;
        Clock::time_point now;
    };

    [[nodiscard]] std::optional<GvcpReply> ForceIp(const Request& request);
    [[nodiscard]] GvcpReply Answer(const Request& request);
    [[nodiscard]] std::vector<std::uint8_t> Carry(const Request& request);
    [[nodiscard]] std::vector<std::uint8_t> ReadRegisters(const Request& request);
    [[nodiscard]] std::vector<std::uint8_t> WriteRegisters(const Request& request);
    // What a little-endian device does whose register commands carry numbers, not bytes.
    void SwapIfConverted(std::uint32_t address, Bytes value) const;
    [[nodiscard]] std::vector<std::uint8_t> ReadMemory(const Request& request);
    [[nodiscard]] std::vector<std::uint8_t> WriteMemory(const Request& request);
    [[nodiscard]] std::uint16_t WriteWords(const Request& request, std::uint32_t address,
                                           ConstBytes bytes);
    [[nodiscard]] std::uint16_t WriteControl(const Request& request, std::uint32_t value);
    void CountCommand(const Request& request);
    void ControlEnded(const char* why);

    const DeviceOptions& mOptions;
    EventLog& mEvents;
    CommandCounters& mCounters;
    DeviceMemory mMemory;
    GvcpBootstrap mBootstrap;
    FeatureRegisters mFeatures;
    ControlPrivilege mControl;
    AnsweredCommands mAnswered;
    Chance mChance;
};

}  // namespace simulator
