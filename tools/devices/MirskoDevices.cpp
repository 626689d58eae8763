// Lists the interfaces of this computer and the devices on each: what to pass to the updater.
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "TransportChoice.h"

namespace {

using Json = nlohmann::ordered_json;

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

Json Describe(const NxDeviceInfo& device, bool withTransport) {
    Json result{{"kind", KindOf(device)},
                {"vendor", device.GetVendorName().GetAscii()},
                {"model", device.GetModelName().GetAscii()},
                {"serial", device.GetSerialNumber().GetAscii()},
                {"deviceId", device.GetUserDefinedName().GetAscii()},
                {"version", device.GetDeviceVersion().GetAscii()},
                {"address", device.GetIPAddress().GetAscii()},
                {"mac", device.GetMACAddress().GetAscii()},
                {"connectionId", device.GetConnectionID().GetAscii()}};
    if (withTransport) {
        const TransportChoice choice = TransportChoice::Find(device);
        result["transport"] = choice.Name();
        result["transportReason"] = choice.reason;
    }
    return result;
}

Json Describe(const NxInterface& interface, bool withTransport) {
    Json result;
    result["name"] = interface.GetName().GetAscii();
    const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(&interface);
    result["kind"] = adapter != nullptr ? "network adapter" : "USB host controller";
    if (adapter != nullptr) {
        result["mac"] = adapter->GetMACAddress().GetAscii();
        result["address"] = adapter->GetIPAddress().GetAscii();
    }
    result["devices"] = Json::array();
    for (unsigned int i = 0; i < interface.GetDeviceCount(); ++i) {
        result["devices"].push_back(Describe(*interface.GetDeviceInfo(i), withTransport));
    }
    return result;
}

void PrintText(const Json& interfaces) {
    for (const Json& interface : interfaces) {
        std::cout << interface["name"].get<std::string>();
        if (interface.contains("mac")) {
            std::cout << "  " << interface["address"].get<std::string>()
                      << "  --localinterface=" << interface["mac"].get<std::string>();
        } else {
            std::cout << "  --u3v";
        }
        std::cout << '\n';
        for (const Json& device : interface["devices"]) {
            const auto field = [&device](const char* name) {
                return device[name].get<std::string>();
            };
            std::cout << "    " << field("vendor") << ' ' << field("model") << ", serial "
                      << field("serial");
            if (!field("version").empty()) {
                std::cout << ", version " << field("version");
            }
            if (!field("deviceId").empty()) {
                std::cout << ", ID " << field("deviceId");
            }
            std::cout << " (" << field("kind") << ", " << field("connectionId") << ")\n";
            if (device.contains("transport")) {
                std::cout << "        transport: " << field("transport")
                          << (field("transportReason").empty() ? "" : "; ")
                          << field("transportReason") << '\n';
            }
        }
        if (interface["devices"].empty()) {
            std::cout << "    no devices\n";
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App options(
        "Lists this computer's interfaces and the devices on each.\n"
        "Exit status: 0 the list is complete, 1 no interface could be searched, 2 usage error.",
        "mirsko-devices");
    bool asJson = false;
    options.add_flag("--json", asJson, "Print a JSON array of interfaces instead of text");
    bool withTransport = false;
    options.add_flag("--transport", withTransport,
                     "Connect to each device and print the transport the updater would use for a "
                     "payload and, if it is not file access, why. Takes control of each device "
                     "meanwhile, so other programs may fail to open it");
    try {
        options.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return options.exit(error) == 0 ? 0 : 2;
    }

    NxSystem system;
    const NxResult result = system.Find();
    Json interfaces = Json::array();
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        interfaces.push_back(Describe(*system.GetInterface(i), withTransport));
    }
    if (asJson) {
        // Device texts may hold bytes that are not UTF-8.
        std::cout << interfaces.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
        PrintText(interfaces);
    }
    if (!result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return 1;
    }
    return std::cout.flush() ? 0 : 1;
}
