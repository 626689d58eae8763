#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "TftpConnection.h"
#include "simulator/network/WakeUp.h"
#include "simulator/tftp/protocol/TftpSettings.h"
#include "simulator/tftp/session/TftpFaults.h"
#include "simulator/tftp/session/TftpFiles.h"
#include "simulator/tftp/session/TftpTransfer.h"

namespace simulator {

/// A TFTP server (RFC 1350, 2347, 2348, 2349, 7440) for octet mode, on one address of one
/// interface. Several clients may be served at a time; a client that falls silent is given up.
class TftpServer {
  public:
    /// @param files must outlive the server
    /// @param observer called for every transfer that has ended; may be empty
    /// @param muted while set, nothing is sent; may be null, must outlive the server
    /// @param seed of the faults that are drawn
    /// @param packetAnswered called after each packet of a client's was handled; may be empty
    TftpServer(TftpFiles& files, const TftpSettings& settings, const TftpFaults& faults,
               TftpObserver observer, const std::atomic<bool>* muted = nullptr,
               std::uint32_t seed = 1, std::function<void()> packetAnswered = {});
    ~TftpServer();

    /// Returns once requests are answered.
    /// @param address IPv4, dotted
    /// @param interfaceName every socket is bound to it (SO_BINDTODEVICE)
    /// @param[out] why one line that says what to do, set when false is returned
    [[nodiscard]] bool Start(const std::string& address, const std::string& interfaceName,
                             std::string& why);
    /// Returns once every socket is closed; transfers under way are dropped.
    void Stop();

    /// The port that it answers on, between Start and Stop.
    [[nodiscard]] std::uint16_t Port() const { return mPort; }

  private:
    using Time = TftpSession::Time;

    void Run();
    /// @return false when the server is to stop
    [[nodiscard]] bool Wait() const;
    void TakeRequests(Time now);
    void Answer(Datagram request, Time now);
    [[nodiscard]] bool MakeRoom();
    void Advance(Time now);
    void Report(TftpConnection& connection);

    TftpFiles& mFiles;
    const TftpSettings mSettings;
    const TftpFaults mFaults;
    const TftpObserver mObserver;
    const std::atomic<bool>* const mMuted;
    const std::uint32_t mSeed;
    const std::function<void()> mPacketAnswered;

    std::string mInterfaceName;
    std::uint32_t mAddress = 0;
    std::uint16_t mPort = 0;
    std::optional<BoundSocket> mSocket;
    std::list<TftpConnection> mConnections;
    std::uint32_t mTransfers = 0;  // so far
    std::optional<WakeUp> mWake;   // tells the thread to end
    std::thread mThread;
};

}  // namespace simulator
