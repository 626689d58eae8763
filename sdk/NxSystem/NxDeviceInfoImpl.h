#pragma once

#include <string>

#include <NxSystem/NxDeviceInfo.h>

/// The fields of one discovered device, as texts.
class NxDeviceInfo::Impl {
  public:
    unsigned int type = 0;
    std::string connectionId;
    std::string vendor;
    std::string model;
    std::string version;
    std::string serial;
    std::string userName;
    std::string address;
    std::string mac;
    std::string mask;
    std::string gateway;
    Access access = Access::kUnknown;
    std::string accessReason;
};
