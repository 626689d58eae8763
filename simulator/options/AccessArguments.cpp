#include "AccessArguments.h"

#include <string>
#include <vector>

#include "OptionGroup.h"

using simulator::DeviceOptions;
using simulator::RegisterLayout;

namespace {

template <typename Names>
std::string Listed(const Names& names) {
    std::string list;
    for (const auto& [value, name] : names.entries) {
        list += (list.empty() ? "" : ", ") + std::string(name);
    }
    return list;
}

void AddDescription(OptionGroup& group, DeviceOptions& device) {
    group
        .Call<std::vector<std::string>>(
            "--description",
            [&device](const std::vector<std::string>& names) {
                for (const std::string& name : names) {
                    const auto shape = simulator::kShapeNames.ValueNamed(name);
                    if (!shape) {
                        throw CLI::ValidationError("--description", "unknown quirk " + name);
                    }
                    device.description.insert(*shape);
                }
            },
            "NAMES",
            "Quirks of the GenICam description, separated by commas: " +
                Listed(simulator::kShapeNames))
        ->delimiter(',')
        ->expected(1)
        // Else the "--" before COMMAND would be taken for the end of a list.
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void AddLayout(OptionGroup& group, DeviceOptions& device) {
    group.AddChoice(
        "--layout", device.layout, "layout", simulator::LayoutNamed,
        simulator::kLayoutNames.NameOf(device.layout), "NAME",
        "Register layout of the file access features: " + Listed(simulator::kLayoutNames));
    group.AddSwitch("--selector-dependent", device.layout, RegisterLayout::kSelectorDependent,
                    "The same as --layout selector");
    group.AddFlag("--execute-keeps-value", device.executeKeepsValue,
                  "FileOperationExecute always reads back the value last written");
    group.AddFlag("--register-commands-swap", device.registerCommandsSwap,
                  "READREG and WRITEREG carry little-endian registers in network byte order");
}

}  // namespace

void AddAccessOptions(CLI::App& app, DeviceOptions& device) {
    OptionGroup group(app);
    AddLayout(group, device);
    AddDescription(group, device);
    group.Add("--additional-nodes", device.additionalNodeBytes, "BYTES",
              "Bytes of nodes that no client uses, to be added to the GenICam description; "
              "33554432 at most; not with --description large");
    group.Add("--buffer-size", device.bufferSize, "BYTES", "Size of FileAccessBuffer");
    group.AddSwitch("--no-concatenation", device.concatenation, false,
                    "Accept only one register per READREG and WRITEREG");
    group.AddFlag("--zipped-xml", device.zippedXml,
                  "Store the GenICam description as a zip archive");
    group.AddFlag("--second-url-only", device.secondUrlOnly,
                  "Set only the second URL register and leave the first one empty");
    group.AddTime("--latency", device.latency, "Delay before each reply");
    group.AddTime("--execute-latency", device.executeLatency,
                  "Time to start a file operation (announced by PENDING_ACK if over 200 ms)");
    group.AddTime("--operation-time", device.operationTime,
                  "How long FileOperationExecute reports that an operation is not done");
    group.Add("--heartbeat-timeout", device.heartbeatTimeout, "MS",
              "Heartbeat timeout until the application sets another");
    group.Add("--short-write-every", device.shortWriteEvery, "N",
              "Every Nth file write accepts only half of the bytes; 0: never");
}
