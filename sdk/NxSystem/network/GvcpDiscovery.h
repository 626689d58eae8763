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
};

/// Asks all network interfaces at once with several DISCOVERY_CMDs each, and listens for one
/// second: a device may take its time to answer, and datagrams get lost.
std::vector<DiscoveredInterface> DiscoverGvcpDevices();
