#pragma once

#include <memory>
#include <string>

#include <internal/NxSystem/DatagramSocket.h>

class ReplyTimes;

/// A UDP socket of this computer, on a port of the system's choice. For one thread at a time.
class NX_API UdpSocket : public DatagramSocket {
  public:
    /// As many as are taken before something else is looked at: a sender may be faster than this
    /// computer reads.
    static constexpr int kMostAtOnce = 1000;

    UdpSocket();
    ~UdpSocket() override;
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    /// Opens the socket for broadcasts and single receivers.
    /// @param interfaceName what it sends leaves through this interface and no other, whatever the
    ///        routes say, so that several cameras' interfaces may share a subnet; empty: any
    /// @param localAddress address it sends from, host byte order; 0: the system's choice
    NxResult Open(const std::string& interfaceName, std::uint32_t localAddress);
    /// Asks the system for receive buffers of that many bytes.
    /// @return the number of bytes it granted
    std::size_t RequestReceiveBuffer(std::size_t bytes);
    /// The descriptor, for poll(); -1 when not open.
    [[nodiscard]] int Descriptor() const { return mDescriptor; }

    NxResult Send(const Endpoint& to, std::span<const std::byte> datagram) override;
    NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline, std::size_t& length,
                     Endpoint& from, bool& timedOut) override;

  private:
    void AwaitDatagram(Clock::duration time) const;
    /// Lets the next receiving block for a good part of that time.
    /// @return false when the system does not
    bool LimitBlocking(Clock::duration time);

    int mDescriptor = -1;
    std::chrono::microseconds mBlockingLimit{0};
    std::unique_ptr<ReplyTimes> mReplyTimes;
    unsigned int mSentInARow = 0;  ///< since a reply, repeated datagrams included
    std::string mInterfaceName;
};
