#include "NodeMap.h"

#include <charconv>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "ByteOrderRule.h"
#include "DescriptionReader.h"
#include "NodeWriter.h"

namespace {

// The shortest text that reads back as the same number.
std::string FormatFloat(double value) {
    char text[40];
    return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

}  // namespace

NxResult NodeMap::Load(std::shared_ptr<GenPort> port, const std::string& xml,
                       std::unique_ptr<NodeMap>& map) {
    std::unique_ptr<NodeMap> loaded(new NodeMap(std::move(port)));
    DescriptionSchema schema;
    if (const NxResult result = ReadDescription(xml, loaded->mTable, schema); !result.IsOK()) {
        return NxResult(result.GetCode(),
                        "The GenICam description of " + loaded->Port().DeviceName() +
                            " cannot be used: " + result.GetDescription().GetAscii());
    }
    if (schema.IsBelowOneOne()) {
        loaded->mBus.UseRegisterCommands();
    }
    map = std::move(loaded);
    return {};
}

NxResult NodeMap::SettleByteOrder() {
    if (mIsSettled) {
        return {};
    }
    NxResult result = ByteOrderRule::Settle(mTable, mBus, mLocals);
    mIsSettled = result.IsOK();
    return result;
}

NxResult NodeMap::NoSuchNode(const std::string& name) const {
    return NxResult(kNxNoSuchNode, Port().DeviceName() + " has no GenICam feature " + name);
}

NxResult NodeMap::Refuse(const std::string& name, const std::string& reason,
                         unsigned int code) const {
    return NxResult(code,
                    "The GenICam feature " + name + " of " + Port().DeviceName() + " " + reason);
}

NxResult NodeMap::FindRights(Id node, NodeRights::Scope scope, NodeRights& rights) {
    NodeValues values = Access();
    return NodeRights::Find(values, node, scope, rights);
}

NxResult NodeMap::Find(const std::string& name, Id& node) {
    const Id found = mTable.Find(name);
    if (found == NodeTable::kNone) {
        node = NodeTable::kNone;
        return {};
    }
    NodeRights rights;
    NX_RETURN_IF_FAILED(FindRights(found, NodeRights::Scope::kEver, rights));
    node = rights.isImplemented ? found : NodeTable::kNone;
    return {};
}

NxResult NodeMap::Find(const std::string& name, NodeKind kind, Id& node) {
    Id found = NodeTable::kNone;
    NX_RETURN_IF_FAILED(Find(name, found));
    node = found != NodeTable::kNone && mTable.Kind(found) == kind ? found : NodeTable::kNone;
    return {};
}

NxResult NodeMap::Require(const std::string& name, Id& node) {
    NX_RETURN_IF_FAILED(Find(name, node));
    return node != NodeTable::kNone ? NxResult() : NoSuchNode(name);
}

std::set<NodeMap::Id> NodeMap::FollowValues(const std::vector<std::string>& names) {
    std::set<Id> nodes;
    for (const std::string& name : names) {
        NodeValues values = Access();
        Id node = mTable.Find(name);
        NodeValues::Source source;
        while (node != NodeTable::kNone && nodes.insert(node).second &&
               values.FindSource(node, source).IsOK()) {
            node = std::exchange(source, {}).node;
        }
    }
    return nodes;
}

NxResult NodeMap::FindNow(const std::string& name, Id& node, NodeRights& rights) {
    NX_RETURN_IF_FAILED(SettleByteOrder());
    node = mTable.Find(name);
    if (node == NodeTable::kNone) {
        return NoSuchNode(name);
    }
    NxResult result = FindRights(node, NodeRights::Scope::kNow, rights);
    return result.IsOK() && !rights.isImplemented ? NoSuchNode(name) : result;
}

NxResult NodeMap::FindReadable(const std::string& name, Id& node) {
    NodeRights rights;
    NX_RETURN_IF_FAILED(FindNow(name, node, rights));
    return rights.MayRead() ? NxResult()
                            : Refuse(name, rights.isReadable ? "is not available at the moment"
                                                             : "is write-only");
}

NxResult NodeMap::FindWritable(const std::string& name, Id& node) {
    NodeRights rights;
    NX_RETURN_IF_FAILED(FindNow(name, node, rights));
    if (rights.MayWrite()) {
        return {};
    }
    return Refuse(name, std::string("cannot be written at the moment: it is ") +
                            (!rights.isAvailable ? "not available"
                             : rights.isLocked   ? "locked"
                                                 : "read-only"));
}

NxResult NodeMap::SetInteger(Id node, std::int64_t value, RegisterView* view) {
    NodeValues values = Access(view);
    return NodeWriter(values).SetInteger(node, value);
}

NxResult NodeMap::ReadText(const std::string& name, std::string& text) {
    Id node = NodeTable::kNone;
    NX_RETURN_IF_FAILED(FindReadable(name, node));
    NodeValues values = Access();
    std::int64_t integer = 0;
    double number = 0;
    switch (mTable.Kind(node)) {
        case NodeKind::kEnumeration:
            return ReadEntry(name, node, text);
        case NodeKind::kBoolean:
            NX_RETURN_IF_FAILED(values.Integer(node, integer));
            text = integer != 0 ? "true" : "false";
            return {};
        case NodeKind::kInteger:
        case NodeKind::kIntReg:
        case NodeKind::kIntSwissKnife:
        case NodeKind::kIntConverter:
            NX_RETURN_IF_FAILED(values.Integer(node, integer));
            text = std::to_string(integer);
            return {};
        case NodeKind::kFloat:
        case NodeKind::kFloatReg:
        case NodeKind::kSwissKnife:
        case NodeKind::kConverter:
            NX_RETURN_IF_FAILED(values.Float(node, number));
            text = FormatFloat(number);
            return {};
        case NodeKind::kString:
        case NodeKind::kStringReg:
            return values.Text(node, text);
        default:
            return Refuse(name, "is neither a string nor a number");
    }
}

NxResult NodeMap::ReadEntry(const std::string& name, Id enumeration, std::string& text) {
    NodeValues values = Access();
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(values.Integer(enumeration, value));
    const Id entry = FindEntryByValue(enumeration, value);
    if (entry == NodeTable::kNone) {
        return Refuse(
            name, "has the value " + std::to_string(value) + ", which matches none of its entries");
    }
    text = SymbolicName(entry);
    return {};
}

NxResult NodeMap::ReadInteger(const std::string& name, std::int64_t& value) {
    Id node = NodeTable::kNone;
    NxResult result = FindReadable(name, node);
    return result.IsOK() ? Access().Integer(node, value) : result;
}

NxResult NodeMap::WriteInteger(const std::string& name, std::int64_t value) {
    Id node = NodeTable::kNone;
    NX_RETURN_IF_FAILED(FindWritable(name, node));
    return SetInteger(node, value);
}

NxResult NodeMap::WriteEntry(const std::string& name, const std::string& entry) {
    Id node = NodeTable::kNone;
    const NxResult writable = FindWritable(name, node);
    if (!writable.IsOK()) {
        std::string present;
        const bool isThereAlready = writable.GetCode() == kNxNodeAccess &&
                                    ReadText(name, present).IsOK() && present == entry;
        return isThereAlready ? NxResult() : writable;
    }
    if (mTable.Kind(node) != NodeKind::kEnumeration) {
        return Refuse(name, "is not an enumeration");
    }
    Id found = NodeTable::kNone;
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(FindEntry(node, entry, NodeRights::Scope::kNow, found));
    NX_RETURN_IF_FAILED(Access().Integer(found, value));
    return SetInteger(node, value);
}

NxResult NodeMap::Execute(const std::string& name) {
    Id node = NodeTable::kNone;
    NX_RETURN_IF_FAILED(FindWritable(name, node));
    if (mTable.Kind(node) != NodeKind::kCommand) {
        return Refuse(name, "is not a command");
    }
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(Access().CommandValue(node, value));
    return SetInteger(node, value);
}

NxResult NodeMap::ListEntries(Id enumeration, std::vector<Id>& entries) {
    // One access for all: however many entries there are, its bounds hold.
    NodeValues values = Access();
    std::vector<Id> implemented;
    for (Id entry = enumeration + 1; entry <= mTable.LastEntry(enumeration); ++entry) {
        NodeRights rights;
        NX_RETURN_IF_FAILED(NodeRights::Find(values, entry, NodeRights::Scope::kEver, rights));
        if (rights.isImplemented) {
            implemented.push_back(entry);
        }
    }
    entries = std::move(implemented);
    return {};
}

NxResult NodeMap::FindEntry(Id enumeration, const std::string& entry, NodeRights::Scope scope,
                            Id& node) {
    NodeValues values = Access();
    bool isKnown = false;
    for (Id candidate = enumeration + 1; candidate <= mTable.LastEntry(enumeration); ++candidate) {
        if (SymbolicName(candidate) != entry) {
            continue;
        }
        NodeRights rights;
        NX_RETURN_IF_FAILED(NodeRights::Find(values, candidate, scope, rights));
        if (rights.isImplemented && rights.isAvailable) {
            node = candidate;
            return {};
        }
        isKnown = isKnown || rights.isImplemented;
    }
    return NxResult(kNxNoSuchNode, Port().DeviceName() +
                                       (isKnown ? " has no available entry " : " has no entry ") +
                                       entry + " in its " +
                                       PrintableText(mTable.Name(enumeration)));
}

NodeMap::Id NodeMap::FindEntryByValue(Id enumeration, std::int64_t value) {
    NodeValues values = Access();
    for (Id entry = enumeration + 1; entry <= mTable.LastEntry(enumeration); ++entry) {
        std::int64_t known = 0;
        if (values.Integer(entry, known).IsOK() && known == value) {
            return entry;
        }
    }
    return NodeTable::kNone;
}

std::string NodeMap::SymbolicName(Id entry) {
    NodeValues values = Access();
    if (const auto symbolic = values.Find(entry, NodeTag::kSymbolic)) {
        return std::string(symbolic->text);
    }
    const std::string name(mTable.Name(entry));
    const std::string prefix = "EnumEntry_" + std::string(mTable.Name(mTable.Parent(entry))) + "_";
    return name.starts_with(prefix) ? name.substr(prefix.size()) : name;
}

std::string NodeMap::DisplayName(Id entry) {
    NodeValues values = Access();
    const auto shown = values.Find(entry, NodeTag::kDisplayName);
    return shown.has_value() ? std::string(shown->text) : SymbolicName(entry);
}
