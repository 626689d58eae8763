#include <internal/NxSystem/NetworkInterface.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <NxBase/Hexadecimal.h>

namespace {

using Mac = std::array<std::uint8_t, 6>;

std::uint32_t AddressOf(const sockaddr* address) {
    sockaddr_in inet{};
    std::memcpy(&inet, address, sizeof inet);
    return ntohl(inet.sin_addr.s_addr);
}

// From the link-layer entries: /sys/class/net is not there in every environment.
std::map<std::string, Mac> MacsByName(const ifaddrs* first) {
    std::map<std::string, Mac> macs;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET) {
            continue;
        }
        sockaddr_ll link{};
        std::memcpy(&link, entry->ifa_addr, sizeof link);
        if (link.sll_halen == 6) {
            std::copy_n(link.sll_addr, 6, macs[entry->ifa_name].begin());
        }
    }
    return macs;
}

unsigned int MtuOf(const std::string& name, unsigned int fallback) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return fallback;
    }
    ifreq request{};
    name.copy(request.ifr_name, sizeof request.ifr_name - 1);
    const bool known = ioctl(descriptor, SIOCGIFMTU, &request) == 0 && request.ifr_mtu > 0;
    close(descriptor);
    return known ? static_cast<unsigned int>(request.ifr_mtu) : fallback;
}

}  // namespace

std::vector<NetworkInterface> ListNetworkInterfaces() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(first, freeifaddrs);
    const std::map<std::string, Mac> macs = MacsByName(list.get());

    std::vector<NetworkInterface> interfaces;
    for (const ifaddrs* entry = list.get(); entry != nullptr; entry = entry->ifa_next) {
        const bool isUp = (entry->ifa_flags & IFF_UP) != 0;
        if (!isUp || entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        NetworkInterface found;
        found.name = entry->ifa_name;
        // An alias such as "eth0:1" is a further address of its interface.
        found.name.resize(std::min(found.name.find(':'), found.name.size()));
        found.address = AddressOf(entry->ifa_addr);
        found.netmask = entry->ifa_netmask != nullptr ? AddressOf(entry->ifa_netmask) : 0;
        if (const auto mac = macs.find(found.name); mac != macs.end()) {
            found.mac = mac->second;
        }
        found.mtu = MtuOf(found.name, found.mtu);
        interfaces.push_back(found);
    }
    return interfaces;
}

std::string FormatAddress(std::uint32_t address) {
    const in_addr inOrder{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &inOrder, text.data(), text.size());
}

bool ParseAddress(const std::string& text, std::uint32_t& address) {
    in_addr parsed{};
    if (inet_pton(AF_INET, text.c_str(), &parsed) != 1) {
        return false;
    }
    address = ntohl(parsed.s_addr);
    return true;
}

bool ParseMac(const std::string& text, std::array<std::uint8_t, 6>& mac) {
    constexpr std::size_t kLength = 17;
    if (text.size() != kLength) {
        return false;
    }
    for (std::size_t i = 0; i < mac.size(); ++i) {
        const std::size_t at = i * 3;
        unsigned int byte = 0;
        const auto [end, error] = std::from_chars(text.data() + at, text.data() + at + 2, byte, 16);
        if (error != std::errc() || end != text.data() + at + 2 ||
            (i > 0 && text[at - 1] != ':' && text[at - 1] != '-')) {
            return false;
        }
        mac[i] = static_cast<std::uint8_t>(byte);
    }
    return true;
}

std::string FormatMac(const std::array<std::uint8_t, 6>& mac) {
    std::string text;
    for (const std::uint8_t byte : mac) {
        text += (text.empty() ? "" : ":") + HexDigits(byte, 2);
    }
    return text;
}
