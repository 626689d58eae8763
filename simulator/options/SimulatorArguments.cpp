#include "SimulatorArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>

#include "AccessArguments.h"
#include "HelpFormatter.h"
#include "OptionGroup.h"
#include "TftpArguments.h"

using simulator::DatagramFaults;
using simulator::DescriptionShape;
using simulator::DeviceOptions;
using simulator::FaultOptions;
using simulator::FirmwareStore;
using simulator::FirmwareVersion;
using simulator::Profile;
using simulator::RegisterLayout;

namespace {

constexpr const char* kUsbProfile = "u3v";

// What stands in no group of its own; all of TFTP is the network's as well.
constexpr std::array kNetworkOptions = {"--interface",
                                        "--address",
                                        "--mac",
                                        "--ready-file",
                                        "--no-concatenation",
                                        "--register-commands-swap",
                                        "--loss",
                                        "--duplicate",
                                        "--reorder",
                                        "--delayed",
                                        "--second-url-only",
                                        "--delay",
                                        "--busy",
                                        "--seed",
                                        "--stale-acks",
                                        "--heartbeat-timeout",
                                        "--mute-after",
                                        "--discovery-delay",
                                        "--discoveries-lost",
                                        "--lose-control-at",
                                        "--refuse-control"};

/// Options that would have no effect are refused, not passed over.
std::string WhyMisplaced(const CLI::App& app, const DeviceOptions& device, bool usb) {
    if (usb && device.layout == RegisterLayout::kLegacyEndian) {
        return "the layout legacy-endian is for GigE Vision devices";
    }
    for (const DescriptionShape shape : {DescriptionShape::kBlanks, DescriptionShape::kSecondUrl}) {
        if (usb && device.description.contains(shape)) {
            return std::string("the description ") + NameOf(shape) +
                   " is for GigE Vision devices: on USB3 Vision there are no URLs";
        }
    }
    for (const CLI::Option* const option : app.get_options()) {
        if (option->count() == 0) {
            continue;
        }
        const std::string name = option->get_name();
        const bool network = option->get_group().starts_with("TFTP") ||
                             std::find(kNetworkOptions.begin(), kNetworkOptions.end(), name) !=
                                 kNetworkOptions.end();
        if (usb && network) {
            return name + " is for GigE Vision devices; it has no effect with --u3v";
        }
        if (!usb && option->get_group() == simulator::UsbArguments::kGroup) {
            return name + " needs --u3v";
        }
    }
    return "";
}

void AddPlace(OptionGroup& group, SimulatorArguments& arguments) {
    DeviceOptions& device = arguments.device;
    group.Add("--interface", device.place.interfaceName, "NAME",
              "Network interface that every socket is bound to");
    group.Add("--address", device.place.address, "ADDRESS", "IPv4 address, of that interface");
    group.Add("--mac", device.mac, "ADDRESS", "MAC address that discovery reports");
    group.Add("--ready-file", arguments.readyFile, "FILE",
              "Written when the device answers, removed when the program ends");
    group.Add("--events", arguments.eventFile, "FILE",
              "What happens to the device, as JSON lines, appended");
    group.AddFlag("--operation-events", device.operationEvents,
                  "Among them every file operation, with the commands so far");
}

void AddIdentity(OptionGroup& group, SimulatorArguments& arguments) {
    DeviceOptions& device = arguments.device;
    group.AddChoice(
        "--profile", device.profile, "profile",
        [&arguments](const std::string& name) {
            arguments.usb.enabled = arguments.usb.enabled || name == kUsbProfile;
            return simulator::ProfileNamed(
                name == kUsbProfile ? simulator::NameOf(Profile::kFileAccess) : name);
        },
        simulator::NameOf(device.profile), "NAME",
        "What the device offers: file-access, single-file, no-file-access, backup-load, "
        "main-load, selector-without-dfw, loader; u3v is file-access with --u3v");
    group.Add("--vendor", device.vendor, "TEXT", "Vendor name");
    group.Add("--model", device.model, "TEXT", "Model name");
    group.Add("--serial", device.serial, "TEXT", "Serial number");
    group.Add("--user-name", device.firmware.deviceId, "TEXT",
              "User-defined name (device ID), unless the state folder has one");
}

void AddFirmware(OptionGroup& group, DeviceOptions& device) {
    FirmwareStore::Options& firmware = device.firmware;
    group.Call<std::string>(
        "--state", [&firmware](const std::string& folder) { firmware.folder = folder; }, "FOLDER",
        "Where state.json and firmware.bin are kept over restarts; "
        "without it the device begins anew each time");
    group.Add("--family", firmware.family, "NAME", "Device family of the payloads it takes");
    group
        .Call<std::string>(
            "--firmware-version",
            [&firmware](const std::string& text) {
                const std::optional<FirmwareVersion> version = FirmwareVersion::Parse(text);
                if (!version) {
                    throw CLI::ValidationError("--firmware-version",
                                               text + " is not of the form MAJOR.MINOR");
                }
                firmware.version = *version;
            },
            "MAJOR.MINOR", "Version it runs, unless the state folder knows better")
        ->default_str(firmware.version.Text());
    group.AddTime("--flash-time", firmware.flashTime, "How long new firmware is being flashed");
    group.AddTime("--reboot-time", device.rebootTime, "How long the device is gone at a reset");
    group.AddSwitch("--non-volatile-wording", firmware.wording,
                    FirmwareStore::Wording::kNonVolatile,
                    "Report success as \"Successfully wrote file to non-volatile memory\" "
                    "instead of \"Firmware applied: \"");
}

void AddFaults(OptionGroup group, DeviceOptions& device) {
    FaultOptions& faults = device.faults;
    const auto bothWays = [&](const std::string& name, double DatagramFaults::*member,
                              const std::string& description) {
        group.Call<double>(
            name,
            [&faults, member](double percent) {
                faults.received.*member = percent;
                faults.sent.*member = percent;
            },
            "P", description + ", percent, each way");
    };
    group.Add("--seed", faults.seed, "N", "The same faults for the same seed");
    bothWays("--loss", &DatagramFaults::lossPercent, "GVCP datagrams lost");
    bothWays("--duplicate", &DatagramFaults::duplicatePercent, "GVCP datagrams doubled");
    bothWays("--reorder", &DatagramFaults::reorderPercent, "GVCP datagrams out of order");
    bothWays("--delayed", &DatagramFaults::delayPercent, "GVCP datagrams delayed");
    group
        .Call<std::uint32_t>(
            "--delay",
            [&faults](std::uint32_t milliseconds) {
                faults.received.delay = std::chrono::milliseconds(milliseconds);
                faults.sent.delay = faults.received.delay;
            },
            "MS", "By how much")
        ->default_str(std::to_string(faults.sent.delay.count()));
    group.Add("--stale-acks", faults.staleAckPercent, "P",
              "Send an earlier acknowledge first, percent");
    group.Add("--busy", faults.busyPercent, "P", "Answer BUSY, percent");
    group.AddFlag("--refuse-control", faults.refuseControl, "Nobody gets control");
    group.Add("--mute-at", faults.muteAtByte, "BYTE",
              "Answer nothing once so many payload bytes have come");
    group.Add("--reboot-at", faults.rebootAtByte, "BYTE", "Reboot then");
    group.Add("--vanish-at", faults.vanishAtByte, "BYTE", "Be unplugged then");
    group.Add("--lose-control-at", faults.loseControlAtByte, "BYTE",
              "Another application takes control then, GigE Vision only");
    group.Add("--mute-after", faults.muteAfterCommands, "N",
              "Answer nothing after so many GVCP commands, discovery not counted");
    group.AddTime("--discovery-delay", faults.discoveryDelay, "Answer discovery that late");
    group.Add("--discoveries-lost", faults.discoveriesLost, "N",
              "Do not hear so many discovery commands at first");
    group.AddFlag("--fail-flash", device.firmware.failFlash, "Every flashing fails");
    group.AddFlag("--misjudge-crc", device.firmware.misjudgeBodyCrc,
                  "Say of every payload that its CRC is wrong");
}

}  // namespace

SimulatorArguments::Outcome SimulatorArguments::Parse(int argumentCount, char** arguments) {
    CLI::App app(
        "Simulates an updatable GigE Vision device. Runs until SIGTERM or SIGINT;\n"
        "with --u3v it simulates a USB3 Vision device for as long as a command runs.\n"
        "Exit status: 0 ended by a signal, 1 the device cannot be started, 2 wrong usage;\n"
        "with --u3v the command's.",
        "mirsko-simulator");
    app.formatter(std::make_shared<HelpFormatter>());
    OptionGroup group(app);
    AddPlace(group, *this);
    AddIdentity(group, *this);
    AddFirmware(group, device);
    AddAccessOptions(app, device);
    AddFaults(OptionGroup(app, "Faults"), device);
    AddTftpOptions(app, device);
    usb.AddTo(app);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::Success& success) {
        (void)app.exit(success);
        return Outcome::kDone;
    } catch (const CLI::ParseError& error) {
        (void)app.exit(error);
        return Outcome::kWrong;
    }
    std::string why = simulator::WhyUnusable(device);
    if (why.empty()) {
        why = usb.Complete();
    }
    if (why.empty()) {
        why = WhyMisplaced(app, device, usb.enabled);
    }
    if (!why.empty()) {
        std::cerr << why << "\n";
        return Outcome::kWrong;
    }
    return Outcome::kRun;
}
