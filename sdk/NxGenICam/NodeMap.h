#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include <arv.h>

#include <NxBase/NxResult.h>

#include "DescriptionCheck.h"
#include "GenDevice.h"
#include "LengthGuard.h"

/// Aravis's GenICam node map over a port, with its ways of failing turned into results.
class NodeMap {
  public:
    /// @return kNxBadDescription when the XML cannot be used; `map` untouched
    static NxResult Load(std::shared_ptr<GenPort> port, const std::string& xml,
                         std::unique_ptr<NodeMap>& map);
    ~NodeMap();
    NodeMap(const NodeMap&) = delete;
    NodeMap& operator=(const NodeMap&) = delete;

    [[nodiscard]] GenDevice& Device() { return mDevice; }
    /// @param node null when the node is absent or not implemented, which is OK
    /// @return not OK, `node` untouched, when the device could not be asked whether it has it
    NxResult Find(const std::string& name, ArvGcFeatureNode*& node);
    /// The same for an enumeration; null also when the node is something else.
    NxResult FindEnumeration(const std::string& name, ArvGcEnumeration*& node);
    /// Whether the device has that node or entry; OK and false when it has not. For an entry after
    /// CheckEntries or Find of its enumeration.
    NxResult IsImplemented(ArvGcFeatureNode* node, bool& implemented);

    /// Whether the place of that register is computed with the value of a pOffset attribute's node.
    [[nodiscard]] bool HasIndexStep(ArvGcNode* node) const;

    NxResult ReadText(const std::string& name, std::string& text);
    NxResult ReadInteger(const std::string& name, std::int64_t& value);
    /// The largest value that an integer may be set to at the moment.
    NxResult ReadMaximum(const std::string& name, std::int64_t& maximum);
    /// Leaves it to the device to refuse a value that is out of range.
    NxResult WriteInteger(const std::string& name, std::int64_t value);
    /// Sets an enumeration to the entry of that symbolic name.
    NxResult WriteEntry(const std::string& name, const std::string& entry);
    NxResult Execute(const std::string& name);
    NxResult ReadRegisterAddress(const std::string& name, std::uint64_t& address);
    NxResult ReadRegisterLength(const std::string& name, std::uint64_t& length);

    /// Must come before each further access to a node that Find found a while ago: what tells the
    /// lengths of its registers is read anew.
    /// @return kNxBadDescription when an access to it would read a register of absurd length
    NxResult CheckLengths(const std::string& name) { return mLengths.Check(name); }
    /// Must come before the entries of an enumeration that Find found a while ago are accessed.
    /// @return kNxBadDescription when an access to them would read a register of absurd length
    NxResult CheckEntries(ArvGcEnumeration* enumeration);
    /// The entry of that symbolic name; null when there is none that is implemented.
    NxResult FindEntry(ArvGcEnumeration* enumeration, const std::string& entry,
                       ArvGcFeatureNode*& node);
    /// "RemoteUpdateDfw" of an entry node "EnumEntry_FileSelector_RemoteUpdateDfw".
    [[nodiscard]] static std::string SymbolicName(ArvGcEnumeration* enumeration,
                                                  ArvGcFeatureNode* entry);

    /// Turns what a call left in `error` into a result and frees it.
    NxResult Check(const std::string& what, GError* error) { return mDevice.Check(what, error); }

  private:
    NodeMap(std::shared_ptr<GenPort> port, const std::string& xml, const DescriptionFacts& facts);

    [[nodiscard]] NxResult NoSuchNode(const std::string& name);
    /// "The GenICam feature Width of 192.168.1.20 on eth1"
    [[nodiscard]] std::string Feature(const std::string& name);
    NxResult FindReadable(const std::string& name, ArvGcFeatureNode*& node);
    NxResult FindWritable(const std::string& name, ArvGcFeatureNode*& node);

    GenDevice mDevice;
    ArvGc* mGenicam;  ///< null when the description does not load
    std::set<std::string> mNodesWithSteps;
    LengthGuard mLengths;
};
