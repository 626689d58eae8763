#include "AccessArguments.h"

#include <optional>
#include <string>
#include <vector>

#include "DurationOption.h"

using simulator::DescriptionShape;
using simulator::DeviceOptions;
using simulator::RegisterLayout;

namespace {

template <typename Value>
std::string Names(const std::vector<Value>& values) {
    std::string names;
    for (const Value value : values) {
        names += (names.empty() ? "" : ", ") + std::string(NameOf(value));
    }
    return names;
}

void AddDescription(CLI::App& app, DeviceOptions& device) {
    app.add_option_function<std::vector<std::string>>(
           "--description",
           [&device](const std::vector<std::string>& names) {
               for (const std::string& name : names) {
                   const std::optional<DescriptionShape> shape = simulator::ShapeNamed(name);
                   if (!shape) {
                       throw CLI::ValidationError("--description", "there is no shape " + name);
                   }
                   device.description.insert(*shape);
               }
           },
           "Odd shapes of the GenICam description, joined by commas: " +
               Names(simulator::AllShapes()))
        ->type_name("NAMES")
        ->delimiter(',')
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddLayout(CLI::App& app, DeviceOptions& device) {
    app.add_option_function<std::string>(
           "--layout",
           [&device](const std::string& name) {
               const std::optional<RegisterLayout> layout = simulator::LayoutNamed(name);
               if (!layout) {
                   throw CLI::ValidationError("--layout", "there is no layout " + name);
               }
               device.layout = *layout;
           },
           "How the file features are laid over registers: " + Names(simulator::AllLayouts()))
        ->type_name("NAME")
        ->default_str(simulator::NameOf(device.layout));
    app.add_flag_callback(
        "--selector-dependent", [&device] { device.layout = RegisterLayout::kSelectorDependent; },
        "The same as --layout selector");
    app.add_flag("--execute-keeps-value", device.executeKeepsValue,
                 "FileOperationExecute shows what was written to it permanently");
    app.add_flag("--register-commands-swap", device.registerCommandsSwap,
                 "READREG and WRITEREG carry the numbers of little-endian registers in network "
                 "order");
}

}  // namespace

void AddAccessOptions(CLI::App& app, DeviceOptions& device) {
    AddLayout(app, device);
    AddDescription(app, device);
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
