#include "NodeRights.h"

#include <internal/NxBase/ReturnIfFailed.h>

#include "NodePlaces.h"

namespace {

using Id = NodeTable::Id;

/// @param isTrue as it was where the node has no such element
NxResult AskIfTrue(NodeValues& values, Id node, NodeTag tag, bool& isTrue) {
    const auto reference = values.Find(node, tag);
    if (!reference.has_value()) {
        return {};
    }
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(values.IntegerBehind(*reference, value));
    isTrue = value != 0;
    return {};
}

void Restrict(NodeRights& rights, std::string_view mode) {
    rights.isReadable = rights.isReadable && mode != "WO";
    rights.isWritable = rights.isWritable && mode != "RO";
}

NxResult RestrictAsRegister(NodeValues& values, Id node, NodeRights& rights) {
    const auto mode = values.Find(node, NodeTag::kAccessMode);
    Restrict(rights, mode.has_value() ? mode->text : "RO");
    bool isOfDevice = false;
    NX_RETURN_IF_FAILED(NodePlaces(values).IsOfDevice(node, isOfDevice));
    rights.isAvailable = rights.isAvailable && isOfDevice;
    return {};
}

NxResult RestrictAsWhatIsBehind(NodeValues& values, Id node, NodeRights::Scope scope,
                                NodeRights& rights) {
    NodeValues::Source source;
    NX_RETURN_IF_FAILED(values.FindSource(node, source));
    if (source.node == NodeTable::kNone) {
        rights.isWritable = rights.isWritable && source.isLocal;
        return {};
    }
    NodeRights behind;
    NX_RETURN_IF_FAILED(NodeRights::Find(values, source.node, scope, behind));
    rights.isImplemented = rights.isImplemented && behind.isImplemented;
    rights.isAvailable = rights.isAvailable && behind.isAvailable;
    rights.isLocked = rights.isLocked || behind.isLocked;
    rights.isReadable = rights.isReadable && behind.isReadable;
    rights.isWritable = rights.isWritable && behind.isWritable;
    return {};
}

NxResult RestrictAsKind(NodeValues& values, Id node, NodeRights::Scope scope, NodeRights& rights) {
    switch (values.Table().Kind(node)) {
        case NodeKind::kIntReg:
        case NodeKind::kFloatReg:
        case NodeKind::kStringReg:
        case NodeKind::kRegister:
            return RestrictAsRegister(values, node, rights);
        case NodeKind::kIntSwissKnife:
        case NodeKind::kSwissKnife:
        case NodeKind::kEnumEntry:
            rights.isWritable = false;
            return {};
        case NodeKind::kIntConverter:
        case NodeKind::kConverter:
            rights.isWritable = values.Find(node, NodeTag::kFormulaTo).has_value();
            return RestrictAsWhatIsBehind(values, node, scope, rights);
        case NodeKind::kStructReg:
        case NodeKind::kPort:
            rights.isReadable = false;
            rights.isWritable = false;
            return {};
        default:
            return RestrictAsWhatIsBehind(values, node, scope, rights);
    }
}

}  // namespace

NxResult NodeRights::Find(NodeValues& values, NodeTable::Id node, Scope scope, NodeRights& rights) {
    const NodeValues::Visit visit(values, node, NodeValues::Purpose::kRights);
    NX_RETURN_IF_FAILED(visit.Result());
    NodeRights found;
    NX_RETURN_IF_FAILED(AskIfTrue(values, node, NodeTag::kPIsImplemented, found.isImplemented));
    if (found.isImplemented) {
        NX_RETURN_IF_FAILED(RestrictAsKind(values, node, scope, found));
    }
    if (found.isImplemented && scope == Scope::kNow) {
        bool isAvailable = true;
        bool isLocked = false;
        NX_RETURN_IF_FAILED(AskIfTrue(values, node, NodeTag::kPIsAvailable, isAvailable));
        NX_RETURN_IF_FAILED(AskIfTrue(values, node, NodeTag::kPIsLocked, isLocked));
        found.isAvailable = found.isAvailable && isAvailable;
        found.isLocked = found.isLocked || isLocked;
    }
    if (const auto imposed = values.Find(node, NodeTag::kImposedAccessMode)) {
        Restrict(found, imposed->text);
    }
    rights = found;
    return {};
}
