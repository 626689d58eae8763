#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>
#include <NxBase/NxResultCodes.h>
#include <internal/NxGenICam/GenPort.h>

#include "NodeRights.h"
#include "NodeTable.h"
#include "NodeValues.h"
#include "registers/RegisterBus.h"
#include "registers/RegisterView.h"

/// The features of a device by name, as its GenICam XML describes them over its registers. Nothing
/// is cached. One thread at a time.
///
/// Codes that every operation hands on: what the port gives; kNxNoSuchNode for a feature that is
/// absent or not implemented; kNxNodeAccess for one that may not be read or written now, or has no
/// such value; kNxBadDescription for one whose description is malformed or out of bounds.
class NodeMap {
  public:
    using Id = NodeTable::Id;

    /// @return kNxBadDescription when the XML cannot be read; `map` untouched
    static NxResult Load(std::shared_ptr<GenPort> port, const std::string& xml,
                         std::unique_ptr<NodeMap>& map);

    [[nodiscard]] GenPort& Port() const { return mBus.Port(); }
    [[nodiscard]] RegisterBus& Bus() { return mBus; }
    [[nodiscard]] const NodeTable& Table() const { return mTable; }
    /// One access, to be dropped after it. @param view null, or outlives it
    [[nodiscard]] NodeValues Access(RegisterView* view = nullptr) {
        return {mTable, mBus, mLocals, view};
    }

    /// Comes before the first value is read or written: finds out in which order the registers'
    /// bytes come where the description may be wrong about it.
    NxResult SettleByteOrder();

    /// @param node kNone when the feature is absent or not implemented, which is OK
    /// @return not OK, `node` untouched, when the device could not be asked whether it has it
    NxResult Find(const std::string& name, Id& node);
    /// The same; a feature of another kind is none either.
    NxResult Find(const std::string& name, NodeKind kind, Id& node);
    /// The same; an absent feature is a failure.
    NxResult Require(const std::string& name, Id& node);
    /// The failure of a feature that is there. @param reason "is not a command"
    [[nodiscard]] NxResult Refuse(const std::string& name, const std::string& reason,
                                  unsigned int code = kNxNodeAccess) const;
    [[nodiscard]] NxResult NoSuchNode(const std::string& name) const;
    NxResult FindRights(Id node, NodeRights::Scope scope, NodeRights& rights);
    /// The nodes that hand the value of these features on, down to the registers.
    [[nodiscard]] std::set<Id> FollowValues(const std::vector<std::string>& names);

    /// Sets a node without asking for its rights. @param view null, or where the writes are held
    NxResult SetInteger(Id node, std::int64_t value, RegisterView* view = nullptr);

    NxResult ReadText(const std::string& name, std::string& text);
    NxResult ReadInteger(const std::string& name, std::int64_t& value);
    NxResult WriteInteger(const std::string& name, std::int64_t value);
    /// Sets an enumeration to the entry of that symbolic name. One that may not be written is left
    /// as it is where it has that value already.
    NxResult WriteEntry(const std::string& name, const std::string& entry);
    NxResult Execute(const std::string& name);

    /// The implemented entries in the order of the XML.
    NxResult ListEntries(Id enumeration, std::vector<Id>& entries);
    /// @param scope kNow: only an entry that is available as well
    /// @return kNxNoSuchNode when no such entry of that symbolic name is implemented
    NxResult FindEntry(Id enumeration, const std::string& entry, NodeRights::Scope scope, Id& node);
    /// The entry that has that value; kNone without one.
    Id FindEntryByValue(Id enumeration, std::int64_t value);
    /// "RemoteUpdateDfw" of an entry node "EnumEntry_FileSelector_RemoteUpdateDfw".
    [[nodiscard]] std::string SymbolicName(Id entry);
    /// The text shown to people; the symbolic name without one.
    [[nodiscard]] std::string DisplayName(Id entry);

  private:
    explicit NodeMap(std::shared_ptr<GenPort> port) : mBus(std::move(port)) {}

    NxResult FindNow(const std::string& name, Id& node, NodeRights& rights);
    NxResult FindReadable(const std::string& name, Id& node);
    NxResult FindWritable(const std::string& name, Id& node);
    NxResult ReadEntry(const std::string& name, Id enumeration, std::string& text);

    NodeTable mTable;
    RegisterBus mBus;
    NodeValues::LocalValues mLocals;
    bool mIsSettled = false;
};
