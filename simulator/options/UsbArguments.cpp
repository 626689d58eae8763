#include "UsbArguments.h"

#include <CLI/CLI.hpp>

namespace simulator {

namespace {

void AddMilliseconds(CLI::App& app, const std::string& name, std::chrono::milliseconds& target,
                     const std::string& description) {
    app.add_option_function<std::uint32_t>(
           name, [&target](std::uint32_t value) { target = std::chrono::milliseconds(value); },
           description)
        ->type_name("MS")
        ->default_str(std::to_string(target.count()))
        ->group(UsbArguments::kGroup);
}

}  // namespace

void UsbArguments::AddTo(CLI::App& app) {
    app.add_flag("--u3v", enabled,
                 "Simulate a USB3 Vision device for COMMAND, which is run to its end; "
                 "the exit status is the command's")
        ->group(kGroup);
    app.add_option("COMMAND", machine.command, "With --u3v, after --: a program and its arguments");
    app.add_option("--plug", machine.places,
                   "USB port with a camera in it, BUS-PORT.PORT; may be given several times. "
                   "Controller n has the buses 2n-1 (USB 2) and 2n (USB 3)")
        ->type_name("PLACE")
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list of ports.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        // Without the brackets that CLI11 gives a list.
        ->default_str(CLI::detail::join(machine.places, " "))
        ->group(kGroup);
    app.add_flag("--nothing-plugged-in", nothingPluggedIn, "No camera at all")->group(kGroup);
    app.add_option("--controllers", machine.controllers, "USB host controllers, at least, 1 to 40")
        ->type_name("N")
        // The range is in the description; CLI11 would put it beside the type as well.
        ->check(CLI::Range(1, 40).description(""))
        ->capture_default_str()
        ->group(kGroup);
    app.add_flag("--keyboard", machine.keyboard, "A keyboard is plugged in as well")->group(kGroup);
    app.add_option("--max-command", machine.camera.maxCommand, "Longest command, 64 to 65548")
        ->type_name("BYTES")
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--max-ack", machine.camera.maxAck, "Longest acknowledge, 64 to 65548")
        ->type_name("BYTES")
        ->capture_default_str()
        ->group(kGroup);
    AddMilliseconds(app, "--response-time", machine.camera.responseTime,
                    "Longest time to an acknowledge, as the device announces it");
    app.add_option("--late-every", machine.camera.lateEvery,
                   "Every so many commands the acknowledge is later than that; 0: never")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    AddMilliseconds(app, "--late-by", machine.camera.lateBy, "By how much");
    app.add_option("--pending-every", machine.camera.pendingEvery,
                   "Every so many commands PENDING_ACK comes first; 0: never")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    AddMilliseconds(app, "--pending-time", machine.camera.pendingTime, "How long before");
    app.add_option_function<std::uint64_t>(
           "--stall-at", [this](std::uint64_t byte) { machine.camera.stallAtByte = byte; },
           "Stall the control endpoints once so many payload bytes have come")
        ->type_name("BYTE")
        ->group(kGroup);
    app.add_option("--stall-every", machine.camera.stallEvery,
                   "Every so many commands stall the endpoint instead of taking it; 0: never")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--protocol-error-every", machine.camera.protocolErrorEvery,
                   "Every so many commands one is lost by a protocol error; 0: never")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    app.add_flag("--stall-for-good", machine.camera.stallForGood,
                 "Stall again whenever a stall is cleared")
        ->group(kGroup);
    app.add_flag("--interface-busy", machine.interfaceBusy,
                 "Another program holds the control interface")
        ->group(kGroup);
    app.add_flag("--access-denied", machine.accessDenied, "Nobody may open the device")
        ->group(kGroup);
}

std::string UsbArguments::Complete() {
    if (!enabled) {
        return machine.command.empty() ? "" : "a command needs --u3v";
    }
    if (nothingPluggedIn) {
        machine.places.clear();
    }
    return UsbMachine::WhyUnusable(machine);
}

}  // namespace simulator
