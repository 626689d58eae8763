#include "AddressCommands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/ether.h>

#include <NxDevice/NxPersistentIp.h>
#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxForceIp.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "Inventory.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;
constexpr int kSearches = 4;

struct Address {
    std::uint32_t number = 0;  // host byte order
    std::string text;
    std::string mask;
    int prefix = 0;
};

int Fail(const std::string& why, int status = kFailed) {
    std::cerr << why << '\n';
    return status;
}

std::optional<std::uint32_t> Number(const std::string& text) {
    in_addr parsed{};
    return inet_pton(AF_INET, text.c_str(), &parsed) == 1 ? std::optional(ntohl(parsed.s_addr))
                                                          : std::nullopt;
}

std::string Format(std::uint32_t number) {
    const in_addr address{htonl(number)};
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address, text.data(), text.size());
}

// Nothing for what is not an address of a host, and its subnet.
std::optional<Address> Parse(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    Address address;
    address.text = text.substr(0, slash);
    const std::string mask = text.substr(slash + 1);
    const auto [end, error] =
        std::from_chars(mask.data(), mask.data() + mask.size(), address.prefix);
    if (error != std::errc() || end != mask.data() + mask.size()) {
        address.prefix = Inventory::PrefixOf(mask);
    }
    const auto number = Number(address.text);
    if (!number || address.prefix < 1 || address.prefix > 30) {
        return std::nullopt;
    }
    address.number = *number;
    const std::uint32_t host = 0xffffffffU >> static_cast<unsigned int>(address.prefix);
    address.mask = Format(~host);
    constexpr std::uint32_t kFirstMulticast = 0xe0000000U;
    const bool isHost = (address.number & host) != 0 && (address.number & host) != host &&
                        address.number < kFirstMulticast;
    return isHost ? std::optional(address) : std::nullopt;
}

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

std::string Normalized(std::string mac) {
    std::ranges::replace(mac, '-', ':');
    std::ranges::transform(mac, mac.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return mac;
}

// Empty when it can be sent to a device. @param wanted empty: the address is none
std::string WhyNotUsable(const AddressRequest& request, const std::optional<Address>& wanted) {
    ether_addr mac{};
    if (ether_aton_r(Normalized(request.mac).c_str(), &mac) == nullptr) {
        return Quoted(request.mac) + " is not a MAC address, such as 02:4d:53:00:00:01";
    }
    if (!wanted) {
        return Quoted(request.address) +
               " is not an address for a device and its mask, such as 192.168.1.20/24";
    }
    return Number(request.gateway)
               ? ""
               : Quoted(request.gateway) + " is not the address of a gateway, such as 192.168.1.1";
}

// The interface of this computer that has the address; empty for none.
std::string InterfaceWith(const std::string& address) {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return "";
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> all(first, freeifaddrs);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET &&
            Format(ntohl(reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr)) ==
                address) {
            return entry->ifa_name;
        }
    }
    return "";
}

// A device, on one of the interfaces that lead to it.
struct Found {
    const NxNetworkAdapter* adapter = nullptr;
    const NxDeviceInfo* device = nullptr;
};

bool IsInSubnet(const NxNetworkAdapter& adapter, std::uint32_t address) {
    const auto own = Number(adapter.GetIPAddress().GetAscii());
    const auto mask = Number(adapter.GetSubnetMask().GetAscii());
    return own && mask && ((*own ^ address) & *mask) == 0;
}

// Through the interface by which the wanted address can be reached, if there is one.
Found Find(const NxSystem& system, const std::string& mac, std::uint32_t wanted) {
    Found found;
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(system.GetInterface(i));
        for (unsigned int j = 0; adapter != nullptr && j < adapter->GetDeviceCount(); ++j) {
            const NxDeviceInfo* device = adapter->GetDeviceInfo(j);
            if (device->GetMACAddress().GetAscii() == mac &&
                (found.device == nullptr || IsInSubnet(*adapter, wanted))) {
                found = {adapter, device};
            }
        }
    }
    return found;
}

// Who has that address: this computer, or another device; empty: nobody that was found.
std::string OwnerOf(const NxSystem& system, const std::string& address, const std::string& mac) {
    if (const std::string interface = InterfaceWith(address); !interface.empty()) {
        return "this computer's " + interface;
    }
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(system.GetInterface(i));
        for (unsigned int j = 0; adapter != nullptr && j < adapter->GetDeviceCount(); ++j) {
            const NxDeviceInfo* device = adapter->GetDeviceInfo(j);
            if (device->GetIPAddress().GetAscii() == address &&
                device->GetMACAddress().GetAscii() != mac) {
                return std::string("the device ") + device->GetMACAddress().GetAscii();
            }
        }
    }
    return "";
}

std::string NotFound(const std::string& mac) {
    return "No GigE Vision device with the MAC address " + mac +
           " answers; mirsko-devices --json lists their addresses";
}

/// Looks up the device and checks that it may have the address.
/// @param wanted null: none is given to it
/// @return why it cannot be done, empty when it can
std::string Prepare(NxSystem& system, const std::string& mac, const Address* wanted, Found& found) {
    (void)system.FindAll();
    found = Find(system, mac, wanted == nullptr ? 0 : wanted->number);
    if (found.device == nullptr) {
        return NotFound(mac);
    }
    const std::string owner = wanted == nullptr ? "" : OwnerOf(system, wanted->text, mac);
    return owner.empty() ? "" : wanted->text + " is already the address of " + owner;
}

// The device's access once it answers with that address; nothing if it does not.
std::optional<NxDeviceInfo::Access> AccessAt(const std::string& mac, const std::string& address) {
    for (int i = 0; i < kSearches; ++i) {
        NxSystem system;
        (void)system.FindAll();
        const Found found = Find(system, mac, 0);
        if (found.device != nullptr && found.device->GetIPAddress().GetAscii() == address) {
            return found.device->GetAccess();
        }
    }
    return std::nullopt;
}

}  // namespace

int ForceIp(const AddressRequest& request) {
    const auto wanted = Parse(request.address);
    if (const std::string why = WhyNotUsable(request, wanted); !why.empty()) {
        return Fail(why, kWrongUse);
    }
    const std::string mac = Normalized(request.mac);
    NxSystem system;
    Found found;
    if (const std::string why = Prepare(system, mac, &*wanted, found); !why.empty()) {
        return Fail(why);
    }
    const std::string interface = found.adapter->GetName().GetAscii();
    const NxResult result = NxForceIp::Send(interface.c_str(), mac.c_str(), wanted->text.c_str(),
                                            wanted->mask.c_str(), request.gateway.c_str());
    if (!result.IsOK()) {
        return Fail(result.GetDescription().GetAscii());
    }
    const auto access = AccessAt(mac, wanted->text);
    if (!access) {
        return Fail("The device " + mac + " acknowledged the address " + wanted->text +
                    ", but does not answer with it");
    }
    std::cout << mac << " has the address " << wanted->text << '/' << wanted->prefix << " on "
              << interface << " until it restarts\n";
    if (*access == NxDeviceInfo::Access::kOtherSubnet) {
        std::cout << "Note: this address is outside the subnets of "
                  << interface << ", so this computer cannot work with the device\n";
    }
    return std::cout.flush() ? kDone : kFailed;
}

int StorePersistentIp(const AddressRequest& request) {
    const bool isOff = request.address == "off";
    const auto wanted = isOff ? Address() : Parse(request.address);
    if (const std::string why = WhyNotUsable(request, wanted); !why.empty()) {
        return Fail(why, kWrongUse);
    }
    const std::string mac = Normalized(request.mac);
    NxSystem system;
    Found found;
    if (const std::string why = Prepare(system, mac, isOff ? nullptr : &*wanted, found);
        !why.empty()) {
        return Fail(why);
    }
    if (found.device->GetAccess() == NxDeviceInfo::Access::kOtherSubnet) {
        return Fail("The device " + mac +
                    " cannot be reached: " + found.device->GetAccessReason().GetAscii() +
                    "; give it one inside first (mirsko-devices force-ip)");
    }
    const NxString id = found.device->GetConnectionID();
    const NxResult result =
        isOff ? NxPersistentIp::Disable(id)
              : NxPersistentIp::Store(id, wanted->text.c_str(), wanted->mask.c_str(),
                                      request.gateway.c_str());
    if (!result.IsOK()) {
        return Fail(result.GetDescription().GetAscii());
    }
    if (isOff) {
        std::cout << mac << " gets its address by DHCP, or chooses one, from its next start on\n";
    } else {
        std::cout << mac << " takes the address " << wanted->text << '/' << wanted->prefix
                  << " whenever it starts\n";
    }
    return std::cout.flush() ? kDone : kFailed;
}
