#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// One entry of a GenICam enumeration; a copy refers to the same entry.
///
/// A default-constructed entry refers to none and fails every question. Valid as long as the node
/// map that it came from.
class NX_API NxGenEnumEntry {
  public:
    class Impl;

    NxGenEnumEntry();
    explicit NxGenEnumEntry(std::shared_ptr<const Impl> impl);
    ~NxGenEnumEntry();
    NxGenEnumEntry(const NxGenEnumEntry&);
    NxGenEnumEntry& operator=(const NxGenEnumEntry&);

    /// The symbolic name, e.g. "RemoteUpdateDfw", without "EnumEntry_" and the enumeration's name.
    /// @return kNxNoSuchNode, `name` untouched, when it refers to no entry
    NxResult GetName(NxString& name) const;
    /// The text shown to people (GenICam Standard 2.0, DisplayName); the symbolic name when the
    /// device gives none.
    /// @return kNxNoSuchNode, `text` untouched, when it refers to no entry
    NxResult GetDisplayName(NxString& text) const;

  private:
    std::shared_ptr<const Impl> mImpl;
};
