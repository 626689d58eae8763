#include "NodeRights.h"

#include <internal/NxBase/ReturnIfFailed.h>

#include "NodePlaces.h"

namespace {

constexpr int kRights = 10;  ///< a visit's purpose

using Id = NodeTable::Id;

NxResult IsTrue(NodeValues& values, Id node, NodeTag tag, bool otherwise, bool& isTrue) {
    isTrue = otherwise;
    const auto reference = values.Find(node, tag);
    if (!reference.has_value()) {
        return {};
    }
    std::int64_t value = 0;
    NxResult result = values.IntegerBehind(*reference, value);
    isTrue = value != 0;
    return result;
}

void Restrict(NodeRights& rights, std::string_view mode) {
    rights.isReadable = rights.isReadable && mode != "WO";
    rights.isWritable = rights.isWritable && mode != "RO";
}

NxResult RestrictAsRegister(NodeValues& values, Id node, NodeRights& rights) {
    const auto mode = values.Find(node, NodeTag::kAccessMode);
    Restrict(rights, mode.has_value() ? mode->text : "RO");
    bool isOfDevice = false;
    NxResult result = NodePlaces(values).IsOfDevice(node, isOfDevice);
    rights.isAvailable = rights.isAvailable && isOfDevice;
    return result;
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
    NxResult result = NodeRights::Find(values, source.node, scope, behind);
    rights.isImplemented = rights.isImplemented && behind.isImplemented;
    rights.isAvailable = rights.isAvailable && behind.isAvailable;
    rights.isLocked = rights.isLocked || behind.isLocked;
    rights.isReadable = rights.isReadable && behind.isReadable;
    rights.isWritable = rights.isWritable && behind.isWritable;
    return result;
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
    const NodeValues::Visit visit(values, node, kRights);
    NX_RETURN_IF_FAILED(visit.Result());
    NodeRights found;
    NxResult result = IsTrue(values, node, NodeTag::kPIsImplemented, true, found.isImplemented);
    if (result.IsOK() && found.isImplemented) {
        result = RestrictAsKind(values, node, scope, found);
    }
    if (result.IsOK() && found.isImplemented && scope == Scope::kNow) {
        bool isAvailable = true;
        bool isLocked = false;
        result = IsTrue(values, node, NodeTag::kPIsAvailable, true, isAvailable);
        if (result.IsOK()) {
            result = IsTrue(values, node, NodeTag::kPIsLocked, false, isLocked);
        }
        found.isAvailable = found.isAvailable && isAvailable;
        found.isLocked = found.isLocked || isLocked;
    }
    if (const auto imposed = values.Find(node, NodeTag::kImposedAccessMode)) {
        Restrict(found, imposed->text);
    }
    if (result.IsOK()) {
        rights = found;
    }
    return result;
}
