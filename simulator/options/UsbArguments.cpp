#include "UsbArguments.h"

#include "OptionGroup.h"

namespace simulator {

void UsbArguments::AddTo(CLI::App& app) {
    OptionGroup group(app, kGroup);
    U3vOptions& camera = machine.camera;
    group.AddFlag("--u3v", enabled,
                  "Run COMMAND with a simulated USB3 Vision device and return its exit status");
    app.add_option("COMMAND", machine.command,
                   "Program to run and its arguments, after -- (with --u3v)");
    group
        .Add("--plug", machine.places, "PLACE",
             "USB port of a camera, BUS-PORT.PORT; can be repeated. Controller n has the buses "
             "2n-1 (USB 2) and 2n (USB 3)")
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list of ports.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        // Without the brackets that CLI11 gives a list.
        ->default_str(CLI::detail::join(machine.places, " "));
    group.AddFlag("--nothing-plugged-in", nothingPluggedIn, "Plug in no camera");
    group
        .Add("--controllers", machine.controllers, "N",
             "Minimum number of USB host controllers, 1 to 40")
        // The range is in the description; CLI11 would put it beside the type as well.
        ->check(CLI::Range(1, 40).description(""));
    group.AddFlag("--keyboard", machine.keyboard, "Also plug in a keyboard");
    group.Add("--max-command", camera.maxCommand, "BYTES", "Maximum command length, 64 to 65548");
    group.Add("--max-ack", camera.maxAck, "BYTES", "Maximum ack length, 64 to 65548");
    group.AddTime("--response-time", camera.responseTime,
                  "Maximum response time that the device announces");
    group.Add("--late-every", camera.lateEvery, "N",
              "Every Nth ack comes later than the announced response time; 0: never");
    group.AddTime("--late-by", camera.lateBy, "How much later");
    group.Add("--pending-every", camera.pendingEvery, "N",
              "Every Nth command gets a PENDING_ACK first; 0: never");
    group.AddTime("--pending-time", camera.pendingTime, "Time from the PENDING_ACK to the ack");
    group.Add("--stall-at", camera.stallAtByte, "BYTE",
              "Stall the control endpoints after this many payload bytes");
    group.Add("--stall-every", camera.stallEvery, "N",
              "Stall the endpoint at every Nth command instead of accepting it; 0: never");
    group.Add("--protocol-error-every", camera.protocolErrorEvery, "N",
              "Lose every Nth command to a protocol error; 0: never");
    group.AddFlag("--stall-for-good", camera.stallForGood,
                  "Stall again each time a stall is cleared");
    group.AddFlag("--interface-busy", machine.interfaceBusy,
                  "Let another program hold the control interface");
    group.AddFlag("--access-denied", machine.accessDenied, "Deny everyone access to the device");
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
