#pragma once

#include <string>

/// What `mirsko-devices force-ip` and `persistent-ip` were given.
struct AddressRequest {
    std::string mac;
    std::string address;  ///< "192.168.1.20/24" or "192.168.1.20/255.255.255.0"; "off"
    std::string gateway = "0.0.0.0";
};

/// Gives a device another address until it restarts, and looks whether it has it.
/// @return the exit status: 0 it has, 1 it has not, 2 usage error (the reason is on standard error)
[[nodiscard]] int ForceIp(const AddressRequest& request);

/// Stores the address that a device takes whenever it starts, or disables it.
/// @return the exit status, as ForceIp
[[nodiscard]] int StorePersistentIp(const AddressRequest& request);
