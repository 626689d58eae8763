#include "AccessArguments.h"

#include <optional>
#include <string>

#include "DurationOption.h"

using simulator::DeviceOptions;
using simulator::RegisterLayout;

namespace {

void AddLayout(CLI::App& app, DeviceOptions& device) {
    std::string names;
    for (const RegisterLayout layout : simulator::AllLayouts()) {
        names += (names.empty() ? "" : ", ") + std::string(NameOf(layout));
    }
    app.add_option_function<std::string>(
           "--layout",
           [&device](const std::string& name) {
               const std::optional<RegisterLayout> layout = simulator::LayoutNamed(name);
               if (!layout) {
                   throw CLI::ValidationError("--layout", "there is no layout " + name);
               }
               device.layout = *layout;
           },
           "How the file features are laid over registers: " + names)
        ->type_name("NAME")
        ->default_str(simulator::NameOf(device.layout));
    app.add_flag_callback(
        "--selector-dependent", [&device] { device.layout = RegisterLayout::kSelectorDependent; },
        "The same as --layout selector");
    app.add_flag("--execute-keeps-value", device.executeKeepsValue,
                 "FileOperationExecute shows what was written to it for good");
    app.add_flag("--register-commands-swap", device.registerCommandsSwap,
                 "READREG and WRITEREG carry the numbers of little-endian registers in network "
                 "order");
}

}  // namespace

void AddAccessOptions(CLI::App& app, DeviceOptions& device) {
    AddLayout(app, device);
    app.add_option("--buffer-size", device.bufferSize, "Size of FileAccessBuffer")
        ->type_name("BYTES")
        ->capture_default_str();
    app.add_flag_callback(
        "--no-concatenation", [&device] { device.concatenation = false; },
        "One register per READREG and WRITEREG");
    app.add_flag("--zipped-xml", device.zippedXml, "Give the GenICam description zipped");
    app.add_flag("--second-url-only", device.secondUrlOnly,
                 "Name the GenICam description in the second URL register only");
    AddDuration(app, "--latency", device.latency, "Time before each answer");
    AddDuration(app, "--execute-latency", device.executeLatency,
                "Time that starting a file operation takes (PENDING_ACK over 200 ms)");
    AddDuration(app, "--operation-time", device.operationTime,
                "How long FileOperationExecute shows that it is not done");
    app.add_option("--heartbeat-timeout", device.heartbeatTimeout,
                   "Until the application sets another")
        ->type_name("MS")
        ->capture_default_str();
    app.add_option("--short-write-every", device.shortWriteEvery,
                   "Every so many file writes take half of the bytes; 0: never")
        ->type_name("N")
        ->capture_default_str();
}
