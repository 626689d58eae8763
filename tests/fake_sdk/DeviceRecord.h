#pragma once

#include <memory>
#include <string>
#include <vector>

class NxDeviceInfo;

/// A device as discovery lists it.
struct DeviceRecord {
    /// The values are those of NxDeviceInfo::GetType; kNull is an empty place in the list.
    enum class Kind { kNull = -1, kGigEVision = 0, kLoader = 1, kUsb3Vision = 2 };

    Kind kind = Kind::kGigEVision;
    std::string model = "Camera";
    std::string connectionId = "192.168.1.20%eth1";
};

/// An interface as discovery lists it.
struct InterfaceRecord {
    enum class Kind { kNull, kNetwork, kUsb };

    Kind kind = Kind::kNetwork;
    std::string mac;
    std::vector<DeviceRecord> devices;
};

/// The SDK's object for a record; null for Kind::kNull.
std::unique_ptr<NxDeviceInfo> MakeDeviceInfo(const DeviceRecord& record);
