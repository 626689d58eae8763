#include "FileNodes.h"

#include <vector>

#include <arv.h>

#include <NxBase/NxResultCodes.h>

#include "NodeLinks.h"
#include "OperationWait.h"

namespace {

NxResult ReadLinkedInteger(NodeMap& nodes, ArvGcNode* node, std::int64_t& value) {
    GError* error = nullptr;
    value = arv_gc_integer_get_value(ARV_GC_INTEGER(node), &error);
    return nodes.Check(std::string("Cannot read the register of ") + FileNodes::kExecute + " of " +
                           nodes.Device().Port().DeviceName(),
                       error);
}

NxResult ReadCommandValue(NodeMap& nodes, ArvGcNode* command, std::int64_t& value) {
    GError* error = nullptr;
    ArvGcPropertyNode* constant =
        NodeLinks::FindProperty(command, ARV_GC_PROPERTY_NODE_TYPE_COMMAND_VALUE);
    ArvGcPropertyNode* linked =
        NodeLinks::FindProperty(command, ARV_GC_PROPERTY_NODE_TYPE_P_COMMAND_VALUE);
    if (constant == nullptr && linked == nullptr) {
        return NxResult(kNxBadDescription, nodes.Device().Port().DeviceName() + " gives its " +
                                               FileNodes::kExecute + " no value");
    }
    value = arv_gc_property_node_get_int64(constant != nullptr ? constant : linked, &error);
    return nodes.Check(std::string("Cannot read the value of ") + FileNodes::kExecute + " of " +
                           nodes.Device().Port().DeviceName(),
                       error);
}

NxResult WaitUntilDone(NodeMap& nodes, const std::string& operation) {
    FileNodes::CommandState state;
    if (NxResult result = FileNodes::FindCommandState(nodes, state);
        !result.IsOK() || !state.isReadable) {
        return result;
    }
    OperationWait wait(operation, nodes.Device().Port().DeviceName());
    while (true) {
        if (NxResult result = nodes.CheckLengths(FileNodes::kExecute); !result.IsOK()) {
            return result;
        }
        std::int64_t value = 0;
        if (NxResult result = ReadLinkedInteger(nodes, state.valueNode, value); !result.IsOK()) {
            return result;
        }
        if (value != state.commandValue) {
            return {};
        }
        if (NxResult result = wait.Pause(); !result.IsOK()) {
            return result;
        }
    }
}

}  // namespace

NxResult FileNodes::FindCommandState(NodeMap& nodes, CommandState& state) {
    ArvGcFeatureNode* command = nullptr;
    if (NxResult result = nodes.Find(kExecute, command); !result.IsOK()) {
        return result;
    }
    if (command == nullptr || !ARV_IS_GC_COMMAND(command)) {
        return NxResult(kNxNoSuchNode,
                        nodes.Device().Port().DeviceName() + " has no command " + kExecute);
    }
    CommandState found;
    if (NxResult result = ReadCommandValue(nodes, ARV_GC_NODE(command), found.commandValue);
        !result.IsOK()) {
        return result;
    }
    ArvGcPropertyNode* value =
        NodeLinks::FindProperty(ARV_GC_NODE(command), ARV_GC_PROPERTY_NODE_TYPE_P_VALUE);
    ArvGcNode* target = value != nullptr ? arv_gc_property_node_get_linked_node(value) : nullptr;
    if (target != nullptr && ARV_IS_GC_INTEGER(target)) {
        found.valueNode = target;
        found.isReadable = !ARV_IS_GC_FEATURE_NODE(target) ||
                           arv_gc_feature_node_get_actual_access_mode(
                               ARV_GC_FEATURE_NODE(target)) != ARV_GC_ACCESS_MODE_WO;
    }
    state = found;
    return {};
}

NxResult FileNodes::WriteBuffer(GenPort& port, std::uint64_t address,
                                std::span<const std::byte> chunk, std::size_t room) {
    const std::size_t padded = (chunk.size() + 3) / 4 * 4;
    if (padded == chunk.size() || padded > room) {
        return port.WriteMemory(address, chunk);
    }
    std::vector<std::byte> bytes(chunk.begin(), chunk.end());
    bytes.resize(padded);
    return port.WriteMemory(address, bytes);
}

NxResult FileNodes::RunOperation(NodeMap& nodes, const std::string& operation) {
    if (NxResult result = nodes.Execute(kExecute); !result.IsOK()) {
        return result;
    }
    if (NxResult result = WaitUntilDone(nodes, operation); !result.IsOK()) {
        return result;
    }
    std::string status;
    if (NxResult result = nodes.ReadText(kStatus, status); !result.IsOK()) {
        return result;
    }
    return status == kSuccess ? NxResult() : Refusal(nodes.Device().Port(), operation, status);
}

NxResult FileNodes::Refusal(const GenPort& port, const std::string& operation,
                            const std::string& status) {
    return NxResult(kNxFileOperation, port.DeviceName() + " answered " + operation +
                                          " with the file operation status \"" + status + "\"");
}

NxResult FileNodes::Impossible(const GenPort& port, const std::string& operation,
                               std::uint64_t reported, std::uint64_t asked) {
    return NxResult(kNxProtocol, port.DeviceName() + " reports " + std::to_string(reported) +
                                     " bytes as the result of " + operation + " for " +
                                     std::to_string(asked));
}
