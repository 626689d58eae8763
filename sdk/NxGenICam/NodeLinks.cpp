#include "NodeLinks.h"

#include <cstddef>
#include <unordered_set>

namespace {

constexpr int kLongestChain = 64;

bool IsRead(ArvGcPropertyNodeType type) {
    switch (type) {
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_ADDRESS:
        case ARV_GC_PROPERTY_NODE_TYPE_P_INDEX:
        case ARV_GC_PROPERTY_NODE_TYPE_P_LENGTH:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VARIABLE:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_INDEXED:
        case ARV_GC_PROPERTY_NODE_TYPE_P_VALUE_DEFAULT:
            return true;
        default:
            return false;
    }
}

}  // namespace

ArvGcPropertyNode* NodeLinks::FindProperty(ArvGcNode* node, ArvGcPropertyNodeType type) {
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(node)); child != nullptr;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_PROPERTY_NODE(child) &&
            arv_gc_property_node_get_node_type(ARV_GC_PROPERTY_NODE(child)) == type) {
            return ARV_GC_PROPERTY_NODE(child);
        }
    }
    return nullptr;
}

ArvGcNode* NodeLinks::FollowValue(ArvGcNode* node) {
    for (int i = 0; i < kLongestChain && node != nullptr; ++i) {
        ArvGcPropertyNode* value = FindProperty(node, ARV_GC_PROPERTY_NODE_TYPE_P_VALUE);
        if (value == nullptr) {
            return node;
        }
        node = arv_gc_property_node_get_linked_node(value);
    }
    return nullptr;
}

std::string NodeLinks::StripEntryPrefix(const std::string& enumeration, const std::string& entry) {
    const std::string prefix = "EnumEntry_" + enumeration + "_";
    return entry.starts_with(prefix) ? entry.substr(prefix.size()) : entry;
}

std::vector<ArvGcNode*> NodeLinks::AddressSources(ArvGcNode* registerNode) {
    std::vector<ArvGcNode*> sources;
    std::vector<ArvDomNode*> parts{ARV_DOM_NODE(registerNode)};
    std::unordered_set<ArvDomNode*> known{parts.front()};
    const auto addPart = [&parts, &known](ArvDomNode* part) {
        if (known.insert(part).second) {
            parts.push_back(part);
        }
    };
    for (std::size_t i = 0; i < parts.size(); ++i) {
        for (ArvDomNode* child = arv_dom_node_get_first_child(parts[i]); child != nullptr;
             child = arv_dom_node_get_next_sibling(child)) {
            if (ARV_IS_GC_PROPERTY_NODE(child)) {
                auto* property = ARV_GC_PROPERTY_NODE(child);
                ArvGcNode* linked = IsRead(arv_gc_property_node_get_node_type(property))
                                        ? arv_gc_property_node_get_linked_node(property)
                                        : nullptr;
                if (linked != nullptr) {
                    sources.push_back(linked);
                    addPart(ARV_DOM_NODE(linked));
                }
            } else if (ARV_IS_GC_SWISS_KNIFE_NODE(child) || ARV_IS_GC_INT_SWISS_KNIFE_NODE(child)) {
                addPart(child);
            }
        }
    }
    return sources;
}
