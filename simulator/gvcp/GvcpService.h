#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "CommandCounters.h"
#include "GvcpHandler.h"
#include "simulator/device/DeviceService.h"
#include "simulator/network/BoundSocket.h"
#include "simulator/network/FaultyLine.h"
#include "simulator/network/WakeUp.h"

namespace simulator {

/// The GVCP side of a device: its sockets on port 3956 and the thread that serves them.
class GvcpService final : public DeviceService {
  public:
    GvcpService(DeviceContext context, CommandCounters& counters);
    ~GvcpService() override;

    [[nodiscard]] std::string Name() const override { return "gvcp"; }
    [[nodiscard]] bool Start(const NetworkPlace& place, std::string& why) override;
    void Stop() override;

  private:
    using Clock = GvcpHandler::Clock;

    [[nodiscard]] bool OpenSockets(const NetworkPlace& place, std::string& why);
    void Run();
    void Drain(const BoundSocket& socket);
    [[nodiscard]] bool IsSwallowed(const Datagram& datagram);
    void Serve(const Datagram& datagram);
    /// @return false when the device is switched off meanwhile
    [[nodiscard]] bool WaitUntil(Clock::time_point time) const;
    void NoteAnswered(const Datagram& datagram);
    void Send(Datagram datagram);
    /// Who gets the ack: everybody, if the application allows it and is not in the device's subnet.
    [[nodiscard]] Peer AckReceiver(const Datagram& command) const;
    /// Has the device move to where a FORCEIP_CMD wants it.
    /// @return whether it is there, and the command is to be acknowledged
    [[nodiscard]] bool Move(const Datagram& command, const IpAddress& wanted);
    void SendDue();
    [[nodiscard]] Clock::time_point NextEvent() const;

    const DeviceContext mContext;
    CommandCounters& mCounters;
    std::vector<BoundSocket> mSockets;  // the first has the device's own address
    IpAddress mWhere;
    std::optional<Datagram> mForceIpCommand;  // to be acknowledged once the device has moved
    bool mHasMoved = false;                   // just now, for that command
    std::optional<FaultyLine> mReceived;
    std::optional<FaultyLine> mSent;
    std::unique_ptr<GvcpHandler> mHandler;
    std::uint64_t mCommands = 0;                                // since power-on, without discovery
    std::uint32_t mDiscoveries = 0;                             // lost since power-on
    std::vector<std::pair<Clock::time_point, Datagram>> mLate;  // in their order
    std::optional<WakeUp> mWake;                                // tells the thread to end
    std::thread mThread;
};

}  // namespace simulator
