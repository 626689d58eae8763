#include "AccessArguments.h"

#include <optional>
#include <string>
#include <vector>

#include "OptionGroup.h"

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

void AddDescription(OptionGroup& group, DeviceOptions& device) {
    group
        .Call<std::vector<std::string>>(
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
            "NAMES",
            "Odd shapes of the GenICam description, joined by commas: " +
                Names(simulator::AllShapes()))
        ->delimiter(',')
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddLayout(OptionGroup& group, DeviceOptions& device) {
    group.AddChoice(
        "--layout", device.layout, "layout", simulator::LayoutNamed,
        simulator::NameOf(device.layout), "NAME",
        "How the file features are laid over registers: " + Names(simulator::AllLayouts()));
    group.AddSwitch("--selector-dependent", device.layout, RegisterLayout::kSelectorDependent,
                    "The same as --layout selector");
    group.AddFlag("--execute-keeps-value", device.executeKeepsValue,
                  "FileOperationExecute shows what was written to it permanently");
    group.AddFlag("--register-commands-swap", device.registerCommandsSwap,
                  "READREG and WRITEREG carry the numbers of little-endian registers in network "
                  "order");
}

}  // namespace

void AddAccessOptions(CLI::App& app, DeviceOptions& device) {
    OptionGroup group(app);
    AddLayout(group, device);
    AddDescription(group, device);
    group.Add("--buffer-size", device.bufferSize, "BYTES", "Size of FileAccessBuffer");
    group.AddSwitch("--no-concatenation", device.concatenation, false,
                    "One register per READREG and WRITEREG");
    group.AddFlag("--zipped-xml", device.zippedXml, "Give the GenICam description zipped");
    group.AddFlag("--second-url-only", device.secondUrlOnly,
                  "Name the GenICam description in the second URL register only");
    group.AddTime("--latency", device.latency, "Time before each answer");
    group.AddTime("--execute-latency", device.executeLatency,
                  "Time that starting a file operation takes (PENDING_ACK over 200 ms)");
    group.AddTime("--operation-time", device.operationTime,
                  "How long FileOperationExecute shows that it is not done");
    group.Add("--heartbeat-timeout", device.heartbeatTimeout, "MS",
              "Until the application sets another");
    group.Add("--short-write-every", device.shortWriteEvery, "N",
              "Every so many file writes take half of the bytes; 0: never");
}
