#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// Whether a network interface can be used at all.
struct LinkState {
    std::string name;
    std::array<std::uint8_t, 6> mac{};
    bool isUp = false;
    bool hasLink = false;  ///< a cable with something running at its other end
};

/// Every Ethernet interface, and loopback, whether up or not, in the system's order.
std::vector<LinkState> ListLinkStates();

/// True if the system may drop what comes from outside the interface's subnets (rp_filter).
bool DropsOtherSubnets(const std::string& interfaceName);
