#pragma once

#include <string>
#include <vector>

#include <NxBase/NxApi.h>

/// The hardware addresses of this process's last discovery, by connection ID. The same device has
/// one of them, and as many connection IDs as there are paths to it. Safe to call from any thread.
namespace HardwareAddresses {

struct Entry {
    std::string connectionId;
    std::string mac;  ///< "00:11:22:ab:cd:ef"
};

/// Takes the place of what was found before.
NX_API void Remember(std::vector<Entry> found);
/// Empty when the last discovery did not find that device.
[[nodiscard]] NX_API std::string Find(const std::string& connectionId);

}  // namespace HardwareAddresses
