#include "PlainRegister.h"

#include <algorithm>

#include <arv.h>

#include "NodeLinks.h"

namespace {

constexpr int kLongestChain = 16;

// Nodes that hand a value on unchanged, unlike converters.
bool HandsOn(ArvGcNode* node) {
    return ARV_IS_GC_INTEGER_NODE(node) || ARV_IS_GC_ENUMERATION(node) || ARV_IS_GC_COMMAND(node);
}

ArvGcNode* FindIntegerRegister(ArvGcNode* node) {
    for (int i = 0; i < kLongestChain && node != nullptr; ++i) {
        if (ARV_IS_GC_INT_REG_NODE(node)) {
            return node;
        }
        ArvGcPropertyNode* value =
            HandsOn(node) ? NodeLinks::FindProperty(node, ARV_GC_PROPERTY_NODE_TYPE_P_VALUE)
                          : nullptr;
        node = value != nullptr ? arv_gc_property_node_get_linked_node(value) : nullptr;
    }
    return nullptr;
}

bool IsDevicePort(ArvGcNode* registerNode) {
    ArvGcPropertyNode* link =
        NodeLinks::FindProperty(registerNode, ARV_GC_PROPERTY_NODE_TYPE_P_PORT);
    ArvGcNode* port = link != nullptr ? arv_gc_property_node_get_linked_node(link) : nullptr;
    return port != nullptr && ARV_IS_GC_PORT(port) &&
           NodeLinks::FindProperty(port, ARV_GC_PROPERTY_NODE_TYPE_CHUNK_ID) == nullptr &&
           NodeLinks::FindProperty(port, ARV_GC_PROPERTY_NODE_TYPE_EVENT_ID) == nullptr;
}

}  // namespace

bool PlainRegister::IsSteady(const NodeMap& nodes, ArvGcNode* registerNode,
                             const std::vector<ArvGcNode*>& steady) {
    if (!IsDevicePort(registerNode) || nodes.HasIndexStep(registerNode)) {
        return false;
    }
    const std::vector<ArvGcNode*> sources = NodeLinks::AddressSources(registerNode);
    return std::all_of(sources.begin(), sources.end(), [&nodes, &steady](ArvGcNode* source) {
        const bool isRead = ARV_IS_GC_REGISTER(source) || ARV_IS_GC_STRUCT_ENTRY_NODE(source);
        return !nodes.HasIndexStep(source) &&
               (!isRead || std::find(steady.begin(), steady.end(), source) != steady.end());
    });
}

bool PlainRegister::Resolve(NodeMap& nodes, const char* feature,
                            const std::vector<ArvGcNode*>& steady, PlainRegister& plain) {
    ArvGcFeatureNode* node = nullptr;
    ArvGcNode* end = nodes.Find(feature, node).IsOK() && node != nullptr
                         ? FindIntegerRegister(ARV_GC_NODE(node))
                         : nullptr;
    if (end == nullptr || !IsSteady(nodes, end, steady)) {
        return false;
    }
    GError* error = nullptr;
    const std::uint64_t length = arv_gc_register_get_length(ARV_GC_REGISTER(end), &error);
    if (!nodes.Check(feature, error).IsOK()) {
        return false;
    }
    error = nullptr;
    const std::uint64_t address = arv_gc_register_get_address(ARV_GC_REGISTER(end), &error);
    if (!nodes.Check(feature, error).IsOK() || (length != 4 && length != 8) || address % 4 != 0) {
        return false;
    }
    ArvGcPropertyNode* endianness =
        NodeLinks::FindProperty(end, ARV_GC_PROPERTY_NODE_TYPE_ENDIANNESS);
    ArvGcPropertyNode* sign = NodeLinks::FindProperty(end, ARV_GC_PROPERTY_NODE_TYPE_SIGN);
    const bool isBigEndian =
        endianness != nullptr &&
        arv_gc_property_node_get_endianness(endianness, G_LITTLE_ENDIAN) == G_BIG_ENDIAN;
    // Register commands may give a little-endian register's bytes in another order than the memory
    // accesses that the description is meant for.
    if (!isBigEndian && nodes.Device().Port().HasRegisterCommands() &&
        !(length == 4 && nodes.Device().UsesRegisterCommands())) {
        return false;
    }
    plain.mAddress = address;
    plain.mLength = length;
    plain.mIsBigEndian = isBigEndian;
    plain.mIsSigned =
        sign != nullptr &&
        arv_gc_property_node_get_sign(sign, ARV_GC_SIGNEDNESS_UNSIGNED) == ARV_GC_SIGNEDNESS_SIGNED;
    return true;
}

void PlainRegister::Append(std::int64_t value, std::vector<GenPort::Register>& registers) const {
    const auto bits = static_cast<std::uint64_t>(value);
    const std::size_t first = registers.size();
    Append(registers);
    for (std::size_t i = 0; i < mLength; ++i) {
        const std::size_t shift = 8 * (mIsBigEndian ? mLength - 1 - i : i);
        registers[first + i / 4].bytes[i % 4] = static_cast<std::byte>((bits >> shift) & 0xFFU);
    }
}

void PlainRegister::Append(std::vector<GenPort::Register>& registers) const {
    for (std::size_t i = 0; i < mLength; i += 4) {
        registers.push_back({.address = mAddress + i});
    }
}

std::int64_t PlainRegister::Value(const GenPort::Register* registers) const {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < mLength; ++i) {
        const std::size_t shift = 8 * (mIsBigEndian ? mLength - 1 - i : i);
        bits |= std::to_integer<std::uint64_t>(registers[i / 4].bytes[i % 4]) << shift;
    }
    if (mLength == 4 && mIsSigned) {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(bits));
    }
    return static_cast<std::int64_t>(bits);
}
