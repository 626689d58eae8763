#pragma once

#include <string>
#include <vector>

#include <arv.h>

/// The structure of a GenICam node: its properties and the nodes they refer to.
namespace NodeLinks {

/// The node's first property of that kind; null when it has none.
ArvGcPropertyNode* FindProperty(ArvGcNode* node, ArvGcPropertyNodeType type);
/// The node that pValue refers to in the end, or the node itself when it has no pValue.
ArvGcNode* FollowValue(ArvGcNode* node);
/// "Write" of "EnumEntry_FileOperationSelector_Write"; other names as they are.
std::string StripEntryPrefix(const std::string& enumeration, const std::string& entry);
/// Every node that the address and length of a register are computed from, in the end; without the
/// nodes named in pOffset attributes, which Aravis does not tell (DescriptionFacts does).
std::vector<ArvGcNode*> AddressSources(ArvGcNode* registerNode);

}  // namespace NodeLinks
