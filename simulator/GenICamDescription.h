#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Bus.h"
#include "DeviceProfile.h"

namespace simulator {

/// The GenICam XML description (GenApi schema 1.1, SFNC names) of a device over the registers of
/// FeatureAddresses.h and of the device's layout.
[[nodiscard]] std::string DescribeDevice(const DeviceOptions& options, Bus bus);

/// The bytes at features::kXml: the description, zipped if the options say so. `fileName` is set to
/// what it is called in the device's URL.
[[nodiscard]] std::vector<std::uint8_t> EncodeDescription(const DeviceOptions& options, Bus bus,
                                                          std::string& fileName);

}  // namespace simulator
