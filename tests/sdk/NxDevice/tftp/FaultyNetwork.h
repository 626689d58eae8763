#pragma once

#include <map>
#include <random>
#include <string>

#include <internal/NxSystem/DatagramSocket.h>

#include "FakeTftpServer.h"

/// A client's socket whose other end is a FakeTftpServer behind a network with faults. Time passes
/// only as fast as events come, and the same seed gives the same run.
class FaultyNetwork : public DatagramSocket {
  public:
    /// Probabilities from 0 to 1, for each datagram of either direction.
    struct Faults {
        double loss = 0;
        double duplication = 0;
        double reordering = 0;            ///< held back for up to 5 ms
        double lateDuplication = 0;       ///< a copy comes up to 300 ms later
        Clock::duration foreignEvery{0};  ///< a stranger sends a packet that often; 0: never
    };

    FaultyNetwork(FakeTftpServer& server, const Faults& faults, unsigned int seed);

    NxResult Send(const Endpoint& to, std::span<const std::byte> datagram) override;
    NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline, std::size_t& length,
                     Endpoint& from, bool& timedOut) override;
    [[nodiscard]] Clock::time_point Now() const override { return mNow; }
    /// ERROR 5 packets that the stranger got.
    [[nodiscard]] unsigned int Rejections() const { return mRejections; }

  private:
    struct Event {
        bool toServer;
        Endpoint endpoint;  ///< the sender, for the client; the server's port
        std::string bytes;
    };

    void Transmit(const Event& event, Clock::duration delay);
    void ToClient(const std::vector<FakeTftpServer::Datagram>& datagrams);
    [[nodiscard]] bool Happens(double probability);
    [[nodiscard]] Clock::duration UpTo(std::chrono::microseconds longest);

    FakeTftpServer& mServer;
    Faults mFaults;
    std::mt19937 mRandom;
    Clock::time_point mNow{std::chrono::hours(1)};
    Clock::time_point mNextForeign;
    std::multimap<Clock::time_point, Event> mEvents;
    unsigned int mRejections = 0;
};
