#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/device/DeviceProfile.h"
#include "simulator/registers/Bus.h"

namespace simulator {

/// A description as it lies in a device's memory at features::kXml.
struct StoredDescription {
    std::string fileName;             ///< what it is called in the device's URL
    std::vector<std::uint8_t> bytes;  ///< the text, zipped if the options say so
    std::string firstUrl;             ///< of a GigE Vision device; empty: the register is empty
    std::string secondUrl;

    [[nodiscard]] static StoredDescription Of(const DeviceOptions& options, Bus bus);
};

}  // namespace simulator
