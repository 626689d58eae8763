#pragma once

#include <map>
#include <set>
#include <string>

#include <NxBase/NxResult.h>

#include "NodeGraph.h"

/// What a GenICam XML says of itself.
struct DescriptionFacts {
    unsigned int schemaMajor = 1;
    unsigned int schemaMinor = 1;
    /// Names of the registers whose length is another node's value, by their trimmed names; for an
    /// entry of such a structure, the entry's. Empty in most descriptions.
    std::map<std::string, std::set<std::string>> variableLengths;
    /// What an access to a node may read, by trimmed names.
    NodeGraph links;
    std::string anyNodeName;               ///< the name of one node that it defines
    std::set<std::string> nodesWithSteps;  ///< those that hold a pIndex with the attribute pOffset
};

/// Refuses a GenICam XML that could not be used or would harm the process that evaluates it: not
/// well-formed or cut short, with a DTD, without nodes, with registers of absurd length, or with
/// nodes whose evaluation would not end.
/// @return kNxBadDescription with the reason alone, which names no device; `facts` untouched
NxResult CheckDescription(const std::string& xml, DescriptionFacts& facts);
