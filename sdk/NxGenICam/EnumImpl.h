#pragma once

#include <string>
#include <vector>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>

#include "node_map/NodeMap.h"

class NxGenEnumEntry::Impl {
  public:
    std::string name;
    std::string displayName;
};

class NxGenEnum::Impl {
  public:
    Impl(NodeMap& nodes, NodeMap::Id enumeration) : mNodes(nodes), mEnumeration(enumeration) {}

    NxResult ListEntries(std::vector<NodeMap::Id>& entries) const {
        return mNodes.ListEntries(mEnumeration, entries);
    }
    NxResult FindEntry(const std::string& name, NodeMap::Id& node) const;
    [[nodiscard]] NxGenEnumEntry MakeEntry(NodeMap::Id node) const;
    /// Remembers an entry that shows why the device's files cannot be reached.
    void NoteBackupLoad(const NxGenEnumEntry& entry) const;
    [[nodiscard]] std::string Name() const {
        return std::string(mNodes.Table().Name(mEnumeration));
    }
    /// "FileSelector of 192.168.1.20 on eth1"
    [[nodiscard]] std::string Describe() const {
        return Name() + " of " + mNodes.Port().DeviceName();
    }

  private:
    NodeMap& mNodes;
    NodeMap::Id mEnumeration;
};
