#pragma once

#include <cstdint>
#include <vector>

#include <internal/NxSystem/NetworkInterface.h>

#include "GvcpDiscoveryAck.h"

/// A device that answered a discovery.
struct DiscoveredDevice {
    /// Where its answer came from, host byte order; what is written in the ack may be of another
    /// subnet, or anybody's.
    std::uint32_t address = 0;
    GvcpDiscoveryAck ack;
};

/// The devices that answered on one network interface, in the order of their answers.
struct DiscoveredInterface {
    NetworkInterface interface;
    std::vector<DiscoveredDevice> devices;
    bool asked = false;  ///< false when no discovery command could be sent there
    /// Devices in other subnets cannot be found here: the system drops their acks.
    bool missesOtherSubnets = false;
};

/// How far discovery looks.
enum class DiscoveryRange {
    kUsable,       ///< what answers to the interface's own address
    kOtherSubnets  ///< also devices that can only broadcast their acks
};

/// Asks all network interfaces at once with several DISCOVERY_CMDs each, and listens for one
/// second: a device may take its time to answer, and datagrams get lost.
std::vector<DiscoveredInterface> DiscoverGvcpDevices(
    DiscoveryRange range = DiscoveryRange::kUsable);

/// An ID that leaves room for a few more after it, and is neither 0 nor foreseeable, so that acks
/// of earlier commands, or forged ones, are not taken.
std::uint16_t DrawGvcpRequestId();

class UdpSocket;
/// The port that an open socket is bound to.
std::uint16_t LocalPort(const UdpSocket& socket);
