#include "Inventory.h"

#include <bit>
#include <string>

#include <arpa/inet.h>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "Findings.h"
#include "TransportChoice.h"

namespace {

using Inventory::Json;

const char* NameOf(NxNetworkAdapter::State state) {
    switch (state) {
        case NxNetworkAdapter::State::kUsable:
            return "usable";
        case NxNetworkAdapter::State::kNoLink:
            return "no link";
        case NxNetworkAdapter::State::kNoAddress:
            return "no address";
        case NxNetworkAdapter::State::kDown:
            break;
    }
    return "down";
}

const char* NameOf(NxDeviceInfo::Access access) {
    switch (access) {
        case NxDeviceInfo::Access::kUnknown:
            return "unknown";
        case NxDeviceInfo::Access::kFree:
            return "free";
        case NxDeviceInfo::Access::kInUse:
            return "in use";
        case NxDeviceInfo::Access::kDenied:
            return "denied";
        case NxDeviceInfo::Access::kNoReply:
            return "no reply";
        case NxDeviceInfo::Access::kOtherSubnet:
            break;
    }
    return "other subnet";
}

const char* KindOf(const NxDeviceInfo& device) {
    switch (device.GetType()) {
        case 0:
            return "GigE Vision";
        case 1:
            return "loader";
        default:
            return "USB3 Vision";
    }
}

std::string SubnetOf(const std::string& address, const std::string& mask) {
    in_addr number{};
    in_addr bits{};
    if (inet_pton(AF_INET, address.c_str(), &number) != 1 ||
        inet_pton(AF_INET, mask.c_str(), &bits) != 1) {
        return "";
    }
    number.s_addr &= bits.s_addr;
    std::array<char, INET_ADDRSTRLEN> text{};
    return std::string(inet_ntop(AF_INET, &number, text.data(), text.size())) + "/" +
           std::to_string(Inventory::PrefixOf(mask));
}

Json DescribeDevice(const NxDeviceInfo& device, const std::string& option, bool withTransport) {
    Json result{{"kind", KindOf(device)},
                {"vendor", device.GetVendorName().GetAscii()},
                {"model", device.GetModelName().GetAscii()},
                {"serial", device.GetSerialNumber().GetAscii()},
                {"deviceId", device.GetUserDefinedName().GetAscii()},
                {"version", device.GetDeviceVersion().GetAscii()},
                {"address", device.GetIPAddress().GetAscii()},
                {"subnetMask", device.GetSubnetMask().GetAscii()},
                {"gateway", device.GetGateway().GetAscii()},
                {"mac", device.GetMACAddress().GetAscii()},
                {"connectionId", device.GetConnectionID().GetAscii()},
                {"option", option},
                {"access", NameOf(device.GetAccess())},
                {"accessReason", device.GetAccessReason().GetAscii()}};
    if (withTransport) {
        const TransportChoice choice = TransportChoice::Find(device);
        result["transport"] = choice.Name();
        result["transportReason"] = choice.reason;
    }
    return result;
}

Json DescribeInterface(const NxInterface& interface, bool withTransport) {
    Json result;
    result["name"] = interface.GetName().GetAscii();
    const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(&interface);
    result["kind"] = adapter != nullptr ? "network adapter" : "USB host controller";
    std::string option = "--u3v";
    result["state"] = "usable";
    if (adapter != nullptr) {
        const std::string address = adapter->GetIPAddress().GetAscii();
        const std::string mask = adapter->GetSubnetMask().GetAscii();
        option = std::string("--localinterface=") + adapter->GetMACAddress().GetAscii();
        result["state"] = NameOf(adapter->GetState());
        result["mac"] = adapter->GetMACAddress().GetAscii();
        result["address"] = address;
        result["subnetMask"] = mask;
        result["subnet"] = SubnetOf(address, mask);
        result["seesOtherSubnets"] = !adapter->MissesOtherSubnets();
    }
    result["option"] = option;
    result["devices"] = Json::array();
    for (unsigned int i = 0; i < interface.GetDeviceCount(); ++i) {
        result["devices"].push_back(
            DescribeDevice(*interface.GetDeviceInfo(i), option, withTransport));
    }
    return result;
}

}  // namespace

Inventory::Json Inventory::Describe(const NxSystem& system, bool withTransport) {
    Json result{{"format", kFormat}, {"interfaces", Json::array()}};
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        result["interfaces"].push_back(DescribeInterface(*system.GetInterface(i), withTransport));
    }
    result["findings"] = FindingsOf(result["interfaces"]);
    return result;
}

int Inventory::PrefixOf(const std::string& mask) {
    in_addr bits{};
    if (inet_pton(AF_INET, mask.c_str(), &bits) != 1) {
        return -1;
    }
    const std::uint32_t number = ntohl(bits.s_addr);
    const int length = std::popcount(number);
    return std::countl_one(number) == length ? length : -1;
}
