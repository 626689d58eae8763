#include <NxGenICam/NxGenEnumEntry.h>

#include <utility>

#include <NxBase/NxResultCodes.h>

#include "EnumImpl.h"

NxGenEnumEntry::NxGenEnumEntry() = default;

NxGenEnumEntry::NxGenEnumEntry(std::shared_ptr<const Impl> impl) : mImpl(std::move(impl)) {}

NxGenEnumEntry::~NxGenEnumEntry() = default;

NxGenEnumEntry::NxGenEnumEntry(const NxGenEnumEntry&) = default;

NxGenEnumEntry& NxGenEnumEntry::operator=(const NxGenEnumEntry&) = default;

NxResult NxGenEnumEntry::GetName(NxString& name) const {
    if (mImpl == nullptr) {
        return NxResult(kNxNoSuchNode);
    }
    name = mImpl->name;
    return {};
}

NxResult NxGenEnumEntry::GetDisplayName(NxString& text) const {
    if (mImpl == nullptr) {
        return NxResult(kNxNoSuchNode);
    }
    text = mImpl->displayName;
    return {};
}
