#pragma once

#include <string>

/// A device's GenICam XML as it was downloaded, with what shows whether the device still stores it.
struct DescriptionCopy {
    std::string identity;  ///< the device's MAC address, names, version and serial number
    std::string url;
    std::string ends;  ///< the first and last bytes of what is stored: of an archive, its checksums
    std::string xml;
};
