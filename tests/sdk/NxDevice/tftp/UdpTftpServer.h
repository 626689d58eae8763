#pragma once

#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>

#include "FakeTftpServer.h"

/// A FakeTftpServer on port 69 of 127.0.0.1, on a thread of its own, with faults on the way. For
/// tests in a network of their own.
class UdpTftpServer {
  public:
    /// Probabilities from 0 to 1, for each datagram of either direction.
    struct Faults {
        double loss = 0;
        double duplication = 0;
        double reordering = 0;  ///< held back until the next datagram has passed
    };

    UdpTftpServer(const FakeTftpServer::Behaviour& behaviour, const Faults& faults,
                  unsigned int seed, const std::string& fileToRead = {});
    ~UdpTftpServer();
    UdpTftpServer(const UdpTftpServer&) = delete;
    UdpTftpServer& operator=(const UdpTftpServer&) = delete;

    [[nodiscard]] std::vector<std::string> Files();

  private:
    struct Port {
        int descriptor = -1;
        sockaddr_in client{};
    };

    void Serve();
    void ReceiveFrom(std::uint16_t number);
    void Deliver(const FakeTftpServer::Datagram& datagram);
    void SendAll(const std::vector<FakeTftpServer::Datagram>& datagrams, const sockaddr_in& client);
    void Open(std::uint16_t number, const sockaddr_in& client);
    /// The datagram as the network hands it on: not at all, once, twice, or after the next one.
    std::vector<FakeTftpServer::Datagram> Disturb(const FakeTftpServer::Datagram& datagram,
                                                  std::vector<FakeTftpServer::Datagram>& held);

    std::mutex mMutex;  ///< guards the server
    FakeTftpServer mServer;
    Faults mFaults;
    std::mt19937 mRandom;
    std::map<std::uint16_t, Port> mPorts;
    std::vector<FakeTftpServer::Datagram> mHeldIn;
    std::vector<FakeTftpServer::Datagram> mHeldOut;
    int mWake[2] = {-1, -1};
    std::thread mThread;
};
