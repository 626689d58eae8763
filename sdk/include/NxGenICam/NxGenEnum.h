#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

class NxGenEnumEntry;

/// A GenICam enumeration node. Owned by its node map.
class NX_API NxGenEnum {
  public:
    class Impl;

    explicit NxGenEnum(std::unique_ptr<Impl> impl);
    ~NxGenEnum();
    NxGenEnum(const NxGenEnum&) = delete;
    NxGenEnum& operator=(const NxGenEnum&) = delete;

    /// Number of entries that are implemented, whatever the device allows at the moment.
    [[nodiscard]] unsigned int GetEntryCount() const;
    /// @param index 0 is the first implemented entry, in the order of the device description
    /// @return not OK, `entry` untouched, past the end
    NxResult GetEntryByIndex(unsigned int index, NxGenEnumEntry& entry) const;
    /// @return not OK, `entry` untouched, when no implemented entry has that symbolic name
    NxResult GetEntryByName(const NxString& name, NxGenEnumEntry& entry) const;

  private:
    std::unique_ptr<Impl> mImpl;
};
