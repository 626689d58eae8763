#include <NxGenICam/NxGenEnum.h>

#include <algorithm>
#include <utility>

#include <NxBase/NxResultCodes.h>

#include "EnumImpl.h"

NxGenEnum::Impl::Impl(NodeMap& nodes, ArvGcEnumeration* enumeration)
    : mNodes(nodes), mEnumeration(enumeration) {}

NxResult NxGenEnum::Impl::ListEntries(std::vector<ArvGcFeatureNode*>& entries) const {
    if (NxResult result = mNodes.CheckEntries(mEnumeration); !result.IsOK()) {
        return result;
    }
    std::vector<ArvGcFeatureNode*> implemented;
    for (const GSList* item = arv_gc_enumeration_get_entries(mEnumeration); item != nullptr;
         item = item->next) {
        auto* entry = ARV_GC_FEATURE_NODE(item->data);
        bool isImplemented = false;
        if (NxResult result = mNodes.IsImplemented(entry, isImplemented); !result.IsOK()) {
            return result;
        }
        if (isImplemented) {
            implemented.push_back(entry);
        }
    }
    // Aravis lists the entries in reverse.
    std::reverse(implemented.begin(), implemented.end());
    entries = std::move(implemented);
    return {};
}

NxGenEnumEntry NxGenEnum::Impl::MakeEntry(ArvGcFeatureNode* node) const {
    auto entry = std::make_shared<NxGenEnumEntry::Impl>();
    entry->name = NodeMap::SymbolicName(mEnumeration, node);
    const char* displayName = arv_gc_feature_node_get_display_name(node);
    entry->displayName = displayName != nullptr ? displayName : entry->name;
    return NxGenEnumEntry(entry);
}

std::string NxGenEnum::Impl::Describe() const {
    const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(mEnumeration));
    return std::string(name != nullptr ? name : "An enumeration") + " of " +
           mNodes.Device().Port().DeviceName();
}

NxResult NxGenEnum::Impl::FindEntry(const std::string& name, ArvGcFeatureNode*& node) const {
    return mNodes.FindEntry(mEnumeration, name, node);
}

NxGenEnum::NxGenEnum(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxGenEnum::~NxGenEnum() = default;

unsigned int NxGenEnum::GetEntryCount() const {
    std::vector<ArvGcFeatureNode*> entries;
    (void)mImpl->ListEntries(entries);
    return static_cast<unsigned int>(entries.size());
}

NxResult NxGenEnum::GetEntryByIndex(unsigned int index, NxGenEnumEntry& entry) const {
    std::vector<ArvGcFeatureNode*> entries;
    if (NxResult result = mImpl->ListEntries(entries); !result.IsOK()) {
        return result;
    }
    if (index >= entries.size()) {
        return NxResult(kNxNoSuchNode, mImpl->Describe() + " has no entry " +
                                           std::to_string(index) + "; it has " +
                                           std::to_string(entries.size()));
    }
    entry = mImpl->MakeEntry(entries[index]);
    return {};
}

NxResult NxGenEnum::GetEntryByName(const NxString& name, NxGenEnumEntry& entry) const {
    ArvGcFeatureNode* node = nullptr;
    NxResult result = mImpl->FindEntry(name.GetAscii(), node);
    if (result.IsOK()) {
        entry = mImpl->MakeEntry(node);
    }
    return result;
}
