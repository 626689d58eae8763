#pragma once

#include <string>

#include "simulator/device/DeviceProfile.h"
#include "simulator/registers/Bus.h"

namespace simulator {

/// The GenICam XML description (GenApi schema 1.1, SFNC names) of a device over the registers of
/// FeatureAddresses.h and of the device's layout.
[[nodiscard]] std::string DescribeDevice(const DeviceOptions& options, Bus bus);

}  // namespace simulator
