#include "SimulatorArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <vector>

#include "AccessArguments.h"
#include "HelpFormatter.h"
#include "OptionGroup.h"
#include "TftpArguments.h"

using simulator::DatagramFaults;
using simulator::DescriptionShape;
using simulator::DeviceFault;
using simulator::DeviceOptions;
using simulator::FaultOptions;
using simulator::FirmwareStore;
using simulator::FirmwareVersion;
using simulator::PlannedFault;
using simulator::Profile;
using simulator::RegisterLayout;

namespace {

constexpr const char* kUsbProfile = "u3v";

// Options outside of a group of their own; all TFTP options are network options as well.
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

/// Options that would have no effect are rejected, not ignored.
std::string WhyMisplaced(const CLI::App& app, const DeviceOptions& device, bool usb) {
    if (usb && device.layout == RegisterLayout::kLegacyEndian) {
        return "the layout legacy-endian is for GigE Vision devices only";
    }
    for (const DescriptionShape shape : {DescriptionShape::kBlanks, DescriptionShape::kSecondUrl}) {
        if (usb && device.description.contains(shape)) {
            return std::string("the description quirk ") + simulator::kShapeNames.NameOf(shape) +
                   " is for GigE Vision devices only: USB3 Vision has no URLs";
        }
    }
    for (const PlannedFault& fault : device.faults.planned) {
        if (usb && fault.kind == DeviceFault::kLoseControl) {
            return "the fault lose-control is for GigE Vision devices only";
        }
        if (!usb && fault.kind == DeviceFault::kStall) {
            return "the fault stall needs --u3v";
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
            return name + " is for GigE Vision devices only; it has no effect with --u3v";
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
              "Network interface to bind every socket to");
    group.Add("--address", device.place.address, "ADDRESS", "IPv4 address of that interface");
    group.Add("--mac", device.mac, "ADDRESS", "MAC address that discovery reports");
    group.Add("--ready-file", arguments.readyFile, "FILE",
              "File to create once the device is ready; removed when the program ends");
    group.Add("--events", arguments.eventFile, "FILE", "Append events to this file, as JSON lines");
    group.AddFlag("--operation-events", device.operationEvents,
                  "Also log every file operation, with the number of commands so far");
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
        "Set of features: file-access, single-file, no-file-access, backup-load, "
        "main-load, selector-without-dfw, loader; u3v: file-access, and turns on --u3v");
    group.Add("--vendor", device.vendor, "TEXT", "Vendor name");
    group.Add("--model", device.model, "TEXT", "Model name");
    group.Add("--serial", device.serial, "TEXT", "Serial number");
    group.Add("--user-name", device.firmware.deviceId, "TEXT",
              "User-defined name (device ID), unless the state folder contains one");
}

void AddFirmware(OptionGroup& group, DeviceOptions& device) {
    FirmwareStore::Options& firmware = device.firmware;
    group.Call<std::string>(
        "--state", [&firmware](const std::string& folder) { firmware.folder = folder; }, "FOLDER",
        "Folder for state.json and firmware.bin, kept across restarts; without it every start is a "
        "fresh device");
    group.Add("--family", firmware.family, "NAME", "Device family of the payloads it accepts");
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
            "MAJOR.MINOR", "Firmware version, unless the state folder contains one")
        ->default_str(firmware.version.Text());
    group.AddTime("--flash-time", firmware.flashTime, "Time to flash new firmware");
    group.AddTime("--reboot-time", device.rebootTime,
                  "Time that the device is offline during a reset");
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
            "P", "Percentage of GVCP datagrams " + description + " in each direction");
    };
    group.Add("--seed", faults.seed, "N", "Random seed; the same seed causes the same faults");
    bothWays("--loss", &DatagramFaults::lossPercent, "lost");
    bothWays("--duplicate", &DatagramFaults::duplicatePercent, "duplicated");
    bothWays("--reorder", &DatagramFaults::reorderPercent, "reordered");
    bothWays("--delayed", &DatagramFaults::delayPercent, "delayed");
    group
        .Call<std::uint32_t>(
            "--delay",
            [&faults](std::uint32_t milliseconds) {
                faults.received.delay = std::chrono::milliseconds(milliseconds);
                faults.sent.delay = faults.received.delay;
            },
            "MS", "Delay of the delayed datagrams")
        ->default_str(std::to_string(faults.sent.delay.count()));
    group.Add("--stale-acks", faults.staleAckPercent, "P",
              "Percentage of acks preceded by a copy of the previous ack");
    group.Add("--busy", faults.busyPercent, "P", "Percentage of commands answered with BUSY");
    group.AddFlag("--refuse-control", faults.refuseControl, "Refuse control to every application");
    group.Add("--mute-at", faults.muteAtByte, "BYTE",
              "Stop replying after this many payload bytes");
    group.Add("--reboot-at", faults.rebootAtByte, "BYTE", "Reboot after this many payload bytes");
    group.Add("--vanish-at", faults.vanishAtByte, "BYTE",
              "Unplug the device after this many payload bytes");
    group.Add("--lose-control-at", faults.loseControlAtByte, "BYTE",
              "Another application takes control after this many payload bytes (GigE Vision only)");
    group
        .Call<std::vector<std::string>>(
            "--fault",
            [&faults](const std::vector<std::string>& texts) {
                for (const std::string& text : texts) {
                    const std::optional<PlannedFault> fault = PlannedFault::Parse(text);
                    if (!fault) {
                        throw CLI::ValidationError("--fault",
                                                   text + " is not of the form KIND@MOMENT");
                    }
                    faults.planned.push_back(*fault);
                }
            },
            "KIND@MOMENT",
            "A fault that strikes once: mute, vanish, reboot, pause (2 s), fail, lose-control or "
            "stall; "
            "at byte=N of a payload, after command=N (TFTP: packet), or at status, device-id or "
            "reset. Can be repeated")
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    group.Add("--mute-after", faults.muteAfterCommands, "N",
              "Stop replying after N GVCP commands, not counting discovery");
    group.AddTime("--discovery-delay", faults.discoveryDelay, "Delay before each discovery reply");
    group.Add("--discoveries-lost", faults.discoveriesLost, "N",
              "Ignore the first N discovery commands");
    group.AddFlag("--fail-flash", device.firmware.failFlash, "Fail every flash write");
    group.AddFlag("--misjudge-crc", device.firmware.misjudgeBodyCrc,
                  "Report a CRC error for every payload");
}

}  // namespace

SimulatorArguments::Outcome SimulatorArguments::Parse(int argumentCount, char** arguments) {
    CLI::App app(
        "Simulates an updatable GigE Vision device until ended by SIGTERM or SIGINT;\n"
        "with --u3v, simulates a USB3 Vision device while a command runs.\n"
        "Exit status: 0 ended by a signal, 1 the device cannot be started, 2 usage error;\n"
        "with --u3v, that of the command.",
        "mirsko-simulator");
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "mirsko-simulator " MIRSKO_VERSION,
                         "Print the version and exit");
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
    if (why.empty() && !usb.enabled) {
        why = simulator::WhyNoGigEVisionModel(device.model);
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
