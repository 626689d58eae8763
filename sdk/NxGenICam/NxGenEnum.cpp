#include <NxGenICam/NxGenEnum.h>

#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "EnumImpl.h"

NxResult NxGenEnum::Impl::FindEntry(const std::string& name, NodeMap::Id& node) const {
    NxResult result = mNodes.FindEntry(mEnumeration, name, NodeRights::Scope::kEver, node);
    if (!result.IsOK() && Name() == "FileSelector") {
        mNodes.Port().NoteNoFileAccess(result.GetDescription().GetAscii());
    }
    return result;
}

NxGenEnumEntry NxGenEnum::Impl::MakeEntry(NodeMap::Id node) const {
    auto entry = std::make_shared<NxGenEnumEntry::Impl>();
    entry->name = mNodes.SymbolicName(node);
    entry->displayName = mNodes.DisplayName(node);
    return NxGenEnumEntry(entry);
}

void NxGenEnum::Impl::NoteBackupLoad(const NxGenEnumEntry& entry) const {
    NxString shown;
    if (Name() == "DeviceFirmwareLoad" && entry.GetDisplayName(shown).IsOK() &&
        std::string(shown.GetAscii()).find("BackupLoad") != std::string::npos) {
        mNodes.Port().NoteNoFileAccess(
            mNodes.Port().DeviceName() +
            " is running its backup load, which does not accept firmware by file access");
    }
}

NxGenEnum::NxGenEnum(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxGenEnum::~NxGenEnum() = default;

unsigned int NxGenEnum::GetEntryCount() const {
    std::vector<NodeMap::Id> entries;
    (void)mImpl->ListEntries(entries);
    return static_cast<unsigned int>(entries.size());
}

NxResult NxGenEnum::GetEntryByIndex(unsigned int index, NxGenEnumEntry& entry) const {
    std::vector<NodeMap::Id> entries;
    NX_RETURN_IF_FAILED(mImpl->ListEntries(entries));
    if (index >= entries.size()) {
        return NxResult(kNxNoSuchNode, mImpl->Describe() + " has no entry " +
                                           std::to_string(index) + "; it has " +
                                           std::to_string(entries.size()));
    }
    entry = mImpl->MakeEntry(entries[index]);
    mImpl->NoteBackupLoad(entry);
    return {};
}

NxResult NxGenEnum::GetEntryByName(const NxString& name, NxGenEnumEntry& entry) const {
    NodeMap::Id node = NodeTable::kNone;
    NX_RETURN_IF_FAILED(mImpl->FindEntry(name.GetAscii(), node));
    entry = mImpl->MakeEntry(node);
    return {};
}
