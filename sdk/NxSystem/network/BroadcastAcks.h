#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

/// Receives the acks that devices outside an interface's subnet broadcast, which no socket with the
/// interface's own address gets. Where the system drops them because of their sender's subnet
/// (rp_filter), reads them from the interface itself, which takes CAP_NET_RAW.
class BroadcastAcks {
  public:
    /// @param port that the command is sent from
    BroadcastAcks(const std::string& interfaceName, std::uint16_t port);
    ~BroadcastAcks();
    BroadcastAcks(const BroadcastAcks&) = delete;
    BroadcastAcks& operator=(const BroadcastAcks&) = delete;

    /// For poll(); -1 for what could not be opened.
    [[nodiscard]] const std::array<int, 2>& Descriptors() const { return mDescriptors; }
    /// True if acks of devices in other subnets cannot be received.
    [[nodiscard]] bool MissesOtherSubnets() const { return mMissesOtherSubnets; }

    /// Hands on what has arrived.
    void Collect(const std::function<void(std::span<const std::byte> ack, std::uint32_t sender)>&
                     take) const;

  private:
    const std::uint16_t mPort;
    std::array<int, 2> mDescriptors{-1, -1};  // the socket for broadcasts, the interface's packets
    bool mMissesOtherSubnets = false;
};
