// Lists the interfaces of this computer and the devices on each: what to pass to the updater, and
// what prevents an update.
#include <chrono>
#include <iostream>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

#include <NxSystem/NxSystem.h>

#include "AddressCommands.h"
#include "DeviceTable.h"
#include "Inventory.h"
#include "Watch.h"

namespace {

using Clock = std::chrono::steady_clock;
using Inventory::Json;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

struct Options {
    bool asJson = false;
    bool withTransport = false;
    bool watch = false;
    double wait = -1;  // seconds; negative: do not wait
    std::string serial;
};

/// One search. @return its failure, empty for none
std::string Search(const Options& options, Json& inventory) {
    NxSystem system;
    const NxResult result = system.FindAll();
    inventory = Inventory::Describe(system, options.withTransport);
    return result.IsOK() ? "" : result.GetDescription().GetAscii();
}

bool Contains(const Json& inventory, const std::string& serial) {
    for (const Json& interface : inventory["interfaces"]) {
        for (const Json& device : interface["devices"]) {
            if (serial.empty() || device["serial"] == serial) {
                return true;
            }
        }
    }
    return false;
}

std::string Print(const Json& inventory, bool asJson) {
    // Device texts may hold bytes that are not UTF-8.
    return asJson ? inventory.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"
                  : DeviceTable(inventory);
}

int List(const Options& options) {
    const auto end = Clock::now() + std::chrono::duration<double>(std::max(options.wait, 0.0));
    Json inventory;
    std::string failure;
    bool isFound = false;
    do {
        failure = Search(options, inventory);
        isFound = Contains(inventory, options.serial);
    } while (!isFound && options.wait >= 0 && Clock::now() < end);
    std::cout << Print(inventory, options.asJson) << std::flush;
    if (!failure.empty()) {
        std::cerr << failure << '\n';
        return kFailed;
    }
    if (options.wait >= 0 && !isFound) {
        std::cerr << "No device "
                  << (options.serial.empty() ? "" : "with serial number " + options.serial + " ")
                  << "was found in time\n";
        return kFailed;
    }
    return std::cout ? kDone : kFailed;
}

// Until it is interrupted, or nobody reads its output.
int WatchForChanges(const Options& options) {
    constexpr std::chrono::milliseconds kPause(500);
    Watch watch(options.asJson);
    std::string failure;
    while (std::cout) {
        Json inventory;
        const std::string before = std::exchange(failure, Search(options, inventory));
        if (!failure.empty() && failure != before) {
            std::cerr << failure << '\n';
        }
        std::cout << watch.Changes(inventory) << std::flush;
        std::this_thread::sleep_for(kPause);
    }
    return kFailed;
}

void AddAddressCommand(CLI::App& app, const char* name, const char* description,
                       AddressRequest& request, const char* address, int& status,
                       int (*run)(const AddressRequest&)) {
    CLI::App* command = app.add_subcommand(name, description);
    command->add_option("MAC", request.mac, "The device's MAC address")->required();
    command->add_option(address, request.address, "Its address, such as 192.168.1.20/24")
        ->required();
    command->add_option("GATEWAY", request.gateway, "Its gateway, if there is one");
    command->callback([&request, &status, run] { status = run(request); });
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "Lists this computer's interfaces and the devices on each, with the option that makes the "
        "updater use that interface, and reports what prevents an update.\n"
        "Exit status: 0 the list is complete, 1 no interface could be searched, the device waited "
        "for was not found, or the address could not be set, 2 usage error.",
        "mirsko-devices");
    // Worded for an option; an argument is in the usage line.
    app.get_formatter()->label("REQUIRED", "");
    app.get_formatter()->label("TEXT", "");
    app.set_version_flag("--version", "mirsko-devices " MIRSKO_VERSION,
                         "Print the version and exit");
    Options options;
    app.add_flag("--json", options.asJson, "Print a JSON object instead of a table");
    app.add_flag("--transport", options.withTransport,
                 "Connect to each device and print the transport the updater would use for a "
                 "payload and, if it is not file access, why. Takes control of each device "
                 "meanwhile, so other programs may fail to open it");
    CLI::Option* watch = app.add_flag("--watch", options.watch,
                                      "Keep searching and print a line for each change (with "
                                      "--json: a JSON object), until interrupted");
    CLI::Option* wait = app.add_option("--wait", options.wait,
                                       "Search until a device is found, for at most this many "
                                       "seconds")
                            ->type_name("SECONDS")
                            ->check(CLI::Range(0.0, 86400.0).description(""))
                            ->excludes(watch);
    app.add_option("--serial", options.serial, "Wait for the device with this serial number")
        ->type_name("SERIAL")
        ->needs(wait);
    app.require_subcommand(0, 1);
    int status = -1;  // of a subcommand
    AddressRequest request;
    AddAddressCommand(app, "force-ip",
                      "Give a GigE Vision device another address until it restarts, whatever "
                      "subnet it is in now",
                      request, "ADDRESS/MASK", status, ForceIp);
    AddAddressCommand(app, "persistent-ip",
                      "Store the address that a GigE Vision device uses from its next start on; "
                      "\"off\": it obtains one by DHCP or link-local",
                      request, "ADDRESS/MASK", status, StorePersistentIp);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUse;
    }
    if (status >= 0) {
        return status;
    }
    return options.watch ? WatchForChanges(options) : List(options);
}
