#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "simulator/network/BoundSocket.h"
#include "simulator/network/FaultyLine.h"
#include "simulator/tftp/session/TftpSession.h"

namespace simulator {

/// One session on a port of its own (its transfer identifier, RFC 1350, section 4), with the
/// network's faults between the two.
class TftpConnection {
  public:
    using Time = TftpSession::Time;
    using Bytes = TftpSession::Bytes;

    /// @param request the datagram that the session answers
    /// @param stranger where forged packets are to come from; none: there are none
    /// @param seed of the faults of this transfer
    /// @param latency of every packet that leaves
    TftpConnection(BoundSocket socket, std::optional<BoundSocket> stranger, const Peer& peer,
                   Bytes request, std::unique_ptr<TftpSession> session,
                   const DatagramFaults& faults, std::uint32_t seed,
                   std::chrono::microseconds latency, Time now);

    /// Takes in what the socket has and does what is due.
    void Advance(Time now);
    /// A request from this connection's peer came to the server's port.
    /// @return false when it begins a new transfer and this connection is to be dropped
    [[nodiscard]] bool Absorb(std::span<const std::uint8_t> request, Time now);
    void Abandon(const std::string& why) { mSession->Abandon(why); }

    [[nodiscard]] int Descriptor() const { return mSocket.Descriptor(); }
    [[nodiscard]] const Peer& Client() const { return mPeer; }
    [[nodiscard]] Time Deadline() const;
    [[nodiscard]] bool IsOver() const;
    [[nodiscard]] bool IsSettled() const { return mSession->IsSettled(); }
    [[nodiscard]] Time Begun() const { return mBegun; }
    /// The account, the first time that it is asked for after the outcome was settled.
    [[nodiscard]] std::optional<TftpTransfer> TakeAccount();

  private:
    void Deliver(const std::vector<Datagram>& arrived, Time now);
    void Send(std::vector<Datagram> leaving, Time now);
    void SendDue(Time now);
    void RejectStranger(const Datagram& datagram) const;
    void Forge(const Bytes& datagram);
    void CountRejections();
    void Flush(Time now);

    BoundSocket mSocket;
    std::optional<BoundSocket> mStranger;
    Peer mPeer;
    Bytes mRequest;
    std::unique_ptr<TftpSession> mSession;
    FaultyLine mInward;
    FaultyLine mOutward;
    std::chrono::microseconds mLatency;
    std::deque<std::pair<Time, Datagram>> mUnderWay;  ///< and when they leave
    Time mBegun;
    std::uint64_t mRejections = 0;
    bool mAccounted = false;
};

}  // namespace simulator
