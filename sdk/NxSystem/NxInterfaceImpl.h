#pragma once

#include <memory>
#include <string>
#include <vector>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxInterface.h>

/// One interface and the devices behind it.
class NxInterface::Impl {
  public:
    std::string name;
    std::string mac;      ///< network adapters
    std::string address;  ///< network adapters
    std::vector<std::unique_ptr<NxDeviceInfo>> devices;
};
