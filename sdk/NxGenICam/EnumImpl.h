#pragma once

#include <memory>
#include <string>
#include <vector>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>

#include "NodeMap.h"

class NxGenEnumEntry::Impl {
  public:
    std::string name;
    std::string displayName;
};

class NxGenEnum::Impl {
  public:
    Impl(NodeMap& nodes, ArvGcEnumeration* enumeration);

    /// The implemented entries in the order of the XML.
    NxResult ListEntries(std::vector<ArvGcFeatureNode*>& entries) const;
    [[nodiscard]] NxGenEnumEntry MakeEntry(ArvGcFeatureNode* node) const;
    /// "FileSelector of 192.168.1.20 on eth1"
    [[nodiscard]] std::string Describe() const;
    NxResult FindEntry(const std::string& name, ArvGcFeatureNode*& node) const;

  private:
    NodeMap& mNodes;
    ArvGcEnumeration* mEnumeration;
};
