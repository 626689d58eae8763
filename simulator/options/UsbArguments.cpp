#include "UsbArguments.h"

#include "OptionGroup.h"

namespace simulator {

void UsbArguments::AddTo(CLI::App& app) {
    OptionGroup group(app, kGroup);
    U3vOptions& camera = machine.camera;
    group.AddFlag("--u3v", enabled,
                  "Simulate a USB3 Vision device for COMMAND, which is run to its end; "
                  "the exit status is the command's");
    app.add_option("COMMAND", machine.command, "With --u3v, after --: a program and its arguments");
    group
        .Add("--plug", machine.places, "PLACE",
             "USB port with a camera in it, BUS-PORT.PORT; may be given several times. "
             "Controller n has the buses 2n-1 (USB 2) and 2n (USB 3)")
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list of ports.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        // Without the brackets that CLI11 gives a list.
        ->default_str(CLI::detail::join(machine.places, " "));
    group.AddFlag("--nothing-plugged-in", nothingPluggedIn, "No camera at all");
    group
        .Add("--controllers", machine.controllers, "N", "USB host controllers, at least, 1 to 40")
        // The range is in the description; CLI11 would put it beside the type as well.
        ->check(CLI::Range(1, 40).description(""));
    group.AddFlag("--keyboard", machine.keyboard, "A keyboard is plugged in as well");
    group.Add("--max-command", camera.maxCommand, "BYTES", "Longest command, 64 to 65548");
    group.Add("--max-ack", camera.maxAck, "BYTES", "Longest acknowledge, 64 to 65548");
    group.AddTime("--response-time", camera.responseTime,
                  "Longest time to an acknowledge, as the device announces it");
    group.Add("--late-every", camera.lateEvery, "N",
              "Every so many commands the acknowledge is later than that; 0: never");
    group.AddTime("--late-by", camera.lateBy, "By how much");
    group.Add("--pending-every", camera.pendingEvery, "N",
              "Every so many commands PENDING_ACK comes first; 0: never");
    group.AddTime("--pending-time", camera.pendingTime, "How long before");
    group.Add("--stall-at", camera.stallAtByte, "BYTE",
              "Stall the control endpoints once so many payload bytes have come");
    group.Add("--stall-every", camera.stallEvery, "N",
              "Every so many commands stall the endpoint instead of taking it; 0: never");
    group.Add("--protocol-error-every", camera.protocolErrorEvery, "N",
              "Every so many commands one is lost by a protocol error; 0: never");
    group.AddFlag("--stall-for-good", camera.stallForGood,
                  "Stall again whenever a stall is cleared");
    group.AddFlag("--interface-busy", machine.interfaceBusy,
                  "Another program holds the control interface");
    group.AddFlag("--access-denied", machine.accessDenied, "Nobody may open the device");
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
