#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "simulator/tftp/protocol/TftpPacket.h"

/// A UDP socket on loopback that a test drives packet by packet.
class RawClient {
  public:
    using Bytes = simulator::TftpPacket::Bytes;

    RawClient();
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void Send(std::uint16_t port, const Bytes& datagram) const;
    /// Empty when nothing comes in time.
    [[nodiscard]] Bytes Receive(std::chrono::milliseconds limit = std::chrono::milliseconds(10000));
    /// The port that the last datagram came from.
    [[nodiscard]] std::uint16_t From() const { return mFrom; }

  private:
    int mDescriptor;
    std::uint16_t mFrom = 0;
};
