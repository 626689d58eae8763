#pragma once

#include <memory>
#include <string>
#include <vector>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxInterface.h>
#include <NxSystem/NxNetworkAdapter.h>

/// One interface and the devices behind it.
class NxInterface::Impl {
  public:
    std::string name;
    std::string mac;      ///< network adapters
    std::string address;  ///< network adapters
    std::string mask;     ///< network adapters
    NxNetworkAdapter::State state = NxNetworkAdapter::State::kUsable;
    bool missesOtherSubnets = false;
    std::vector<std::unique_ptr<NxDeviceInfo>> devices;
};
