#include "LinkStates.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>

std::vector<LinkState> ListLinkStates() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(first, freeifaddrs);
    std::vector<LinkState> states;
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET) {
            continue;
        }
        sockaddr_ll link{};
        std::memcpy(&link, entry->ifa_addr, sizeof link);
        if (link.sll_hatype != ARPHRD_ETHER && link.sll_hatype != ARPHRD_LOOPBACK) {
            continue;
        }
        LinkState state;
        state.name = entry->ifa_name;
        std::copy_n(link.sll_addr, state.mac.size(), state.mac.begin());
        state.isUp = (entry->ifa_flags & IFF_UP) != 0;
        state.hasLink = (entry->ifa_flags & IFF_RUNNING) != 0;
        states.push_back(state);
    }
    return states;
}

bool DropsOtherSubnets(const std::string& interfaceName) {
    // The larger one of the two counts; 2 drops only what no route leads back to.
    for (const std::string& name : {std::string("all"), interfaceName}) {
        std::ifstream file("/proc/sys/net/ipv4/conf/" + name + "/rp_filter");
        int mode = 0;
        if (file >> mode && mode > 0) {
            return true;
        }
    }
    return false;
}
