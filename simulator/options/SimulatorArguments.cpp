#include "SimulatorArguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>

#include "AccessArguments.h"
#include "DurationOption.h"
#include "HelpFormatter.h"
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

void AddBytePosition(CLI::App& app, const std::string& name, std::optional<std::uint64_t>& target,
                     const std::string& description) {
    app.add_option_function<std::uint64_t>(
           name, [&target](std::uint64_t value) { target = value; }, description)
        ->type_name("BYTE")
        ->group("Faults");
}

void AddPlace(CLI::App& app, SimulatorArguments& arguments) {
    DeviceOptions& device = arguments.device;
    app.add_option("--interface", device.place.interfaceName,
                   "Network interface that every socket is bound to")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--address", device.place.address, "IPv4 address, of that interface")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_option("--mac", device.mac, "MAC address that discovery reports")
        ->type_name("ADDRESS")
        ->capture_default_str();
    app.add_option("--ready-file", arguments.readyFile,
                   "Written when the device answers, removed when the program ends")
        ->type_name("FILE");
    app.add_option("--events", arguments.eventFile,
                   "What happens to the device, as JSON lines, appended")
        ->type_name("FILE");
    app.add_flag("--operation-events", device.operationEvents,
                 "Among them every file operation, with the commands so far");
}

void AddIdentity(CLI::App& app, SimulatorArguments& arguments) {
    DeviceOptions& device = arguments.device;
    app.add_option_function<std::string>(
           "--profile",
           [&arguments, &device](const std::string& name) {
               if (name == kUsbProfile) {
                   arguments.usb.enabled = true;
                   return;
               }
               const std::optional<Profile> profile = simulator::ProfileNamed(name);
               if (!profile) {
                   throw CLI::ValidationError("--profile", "there is no profile " + name);
               }
               device.profile = *profile;
           },
           "What the device offers: file-access, single-file, no-file-access, backup-load, "
           "main-load, selector-without-dfw, loader; u3v is file-access with --u3v")
        ->type_name("NAME")
        ->default_str(simulator::NameOf(device.profile));
    app.add_option("--vendor", device.vendor, "Vendor name")->capture_default_str();
    app.add_option("--model", device.model, "Model name")->capture_default_str();
    app.add_option("--serial", device.serial, "Serial number")->capture_default_str();
    app.add_option("--user-name", device.firmware.deviceId,
                   "User-defined name (device ID), unless the state folder has one");
}

void AddFirmware(CLI::App& app, DeviceOptions& device) {
    FirmwareStore::Options& firmware = device.firmware;
    app.add_option("--state", firmware.folder,
                   "Where state.json and firmware.bin are kept over restarts; "
                   "without it the device begins anew each time")
        ->type_name("FOLDER");
    app.add_option("--family", firmware.family, "Device family of the payloads it takes")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option_function<std::string>(
           "--firmware-version",
           [&firmware](const std::string& text) {
               const std::optional<FirmwareVersion> version = FirmwareVersion::Parse(text);
               if (!version) {
                   throw CLI::ValidationError("--firmware-version",
                                              text + " is not of the form MAJOR.MINOR");
               }
               firmware.version = *version;
           },
           "Version it runs, unless the state folder knows better")
        ->type_name("MAJOR.MINOR")
        ->default_str(firmware.version.Text());
    AddDuration(app, "--flash-time", firmware.flashTime, "How long new firmware is being flashed");
    AddDuration(app, "--reboot-time", device.rebootTime, "How long the device is gone at a reset");
    app.add_flag_callback(
        "--non-volatile-wording",
        [&firmware] { firmware.wording = FirmwareStore::Wording::kNonVolatile; },
        "Report success as \"Successfully wrote file to non-volatile memory\" "
        "instead of \"Firmware applied: \"");
}

void AddFaults(CLI::App& app, DeviceOptions& device) {
    FaultOptions& faults = device.faults;
    const auto bothWays = [&](const std::string& name, double DatagramFaults::*member,
                              const std::string& description) {
        app.add_option_function<double>(
               name,
               [&faults, member](double percent) {
                   faults.received.*member = percent;
                   faults.sent.*member = percent;
               },
               description + ", percent, each way")
            ->type_name("P")
            ->group("Faults");
    };
    app.add_option("--seed", faults.seed, "The same faults for the same seed")
        ->type_name("N")
        ->capture_default_str()
        ->group("Faults");
    bothWays("--loss", &DatagramFaults::lossPercent, "GVCP datagrams lost");
    bothWays("--duplicate", &DatagramFaults::duplicatePercent, "GVCP datagrams doubled");
    bothWays("--reorder", &DatagramFaults::reorderPercent, "GVCP datagrams out of order");
    bothWays("--delayed", &DatagramFaults::delayPercent, "GVCP datagrams delayed");
    app.add_option_function<std::uint32_t>(
           "--delay",
           [&faults](std::uint32_t milliseconds) {
               faults.received.delay = std::chrono::milliseconds(milliseconds);
               faults.sent.delay = faults.received.delay;
           },
           "By how much")
        ->type_name("MS")
        ->default_str(std::to_string(faults.sent.delay.count()))
        ->group("Faults");
    app.add_option("--stale-acks", faults.staleAckPercent,
                   "Send an earlier acknowledge first, percent")
        ->type_name("P")
        ->group("Faults");
    app.add_option("--busy", faults.busyPercent, "Answer BUSY, percent")
        ->type_name("P")
        ->group("Faults");
    app.add_flag("--refuse-control", faults.refuseControl, "Nobody gets control")->group("Faults");
    AddBytePosition(app, "--mute-at", faults.muteAtByte,
                    "Answer nothing once so many payload bytes have come");
    AddBytePosition(app, "--reboot-at", faults.rebootAtByte, "Reboot then");
    AddBytePosition(app, "--vanish-at", faults.vanishAtByte, "Be unplugged then");
    AddBytePosition(app, "--lose-control-at", faults.loseControlAtByte,
                    "Another application takes control then, GigE Vision only");
    app.add_option_function<std::uint64_t>(
           "--mute-after", [&faults](std::uint64_t value) { faults.muteAfterCommands = value; },
           "Answer nothing after so many GVCP commands, discovery not counted")
        ->type_name("N")
        ->group("Faults");
    app.add_option_function<std::uint32_t>(
           "--discovery-delay",
           [&faults](std::uint32_t value) {
               faults.discoveryDelay = std::chrono::milliseconds(value);
           },
           "Answer discovery that late")
        ->type_name("MS")
        ->group("Faults");
    app.add_option("--discoveries-lost", faults.discoveriesLost,
                   "Do not hear so many discovery commands at first")
        ->type_name("N")
        ->group("Faults");
    app.add_flag("--fail-flash", device.firmware.failFlash, "Every flashing fails")
        ->group("Faults");
    app.add_flag("--misjudge-crc", device.firmware.misjudgeBodyCrc,
                 "Say of every payload that its CRC is wrong")
        ->group("Faults");
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
    AddPlace(app, *this);
    AddIdentity(app, *this);
    AddFirmware(app, device);
    AddAccessOptions(app, device);
    AddFaults(app, device);
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
