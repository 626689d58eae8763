#pragma once

#include <memory>
#include <vector>

#include <internal/NxSystem/NetworkInterface.h>

class NxDeviceInfo;

/// The devices that answered on one network interface, in the order of their answers.
struct DiscoveredInterface {
    NetworkInterface interface;
    std::vector<std::unique_ptr<NxDeviceInfo>> devices;
    bool asked = false;  ///< false when no discovery command could be sent there
};

/// Asks all network interfaces at once with several DISCOVERY_CMDs each, and listens for one
/// second: a device may take its time to answer, and datagrams get lost.
std::vector<DiscoveredInterface> DiscoverGvcpDevices();
