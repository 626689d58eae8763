// The scripted node map: answers from Script::enums and Script::strings.
#include "NodeMap.h"

#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnumEntry.h>

NxGenParameterArray::NxGenParameterArray(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}
NxGenParameterArray::~NxGenParameterArray() = default;

NxResult NxGenParameterArray::GetStringValue(const NxString& name, NxString& value) {
    Script::Active().Note(std::string("NxGenParameterArray::GetStringValue ") + name.GetAscii());
    const auto& strings = Script::Active().strings;
    const auto node = strings.find(name.GetAscii());
    if (node == strings.end()) {
        return NxResult(kNxNoSuchNode);
    }
    value = node->second;
    return NxResult();
}

NxGenEnum* NxGenParameterArray::GetEnum(const NxString& name) {
    Script::Active().Note(std::string("NxGenParameterArray::GetEnum ") + name.GetAscii());
    const auto& enums = Script::Active().enums;
    const auto node = enums.find(name.GetAscii());
    if (node == enums.end()) {
        return nullptr;
    }
    mImpl->enums.push_back(
        std::make_unique<NxGenEnum>(std::make_unique<NxGenEnum::Impl>(node->second)));
    return mImpl->enums.back().get();
}

class NxGenEnumEntry::Impl : public Script::EnumEntry {
  public:
    explicit Impl(Script::EnumEntry entry) : Script::EnumEntry(std::move(entry)) {}
};

NxGenEnum::NxGenEnum(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}
NxGenEnum::~NxGenEnum() = default;

NxResult NxGenEnum::GetEntryByIndex(unsigned int index, NxGenEnumEntry& entry) const {
    if (index >= mImpl->entries.size()) {
        return NxResult(kNxInvalidArgument);
    }
    entry = NxGenEnumEntry(std::make_shared<NxGenEnumEntry::Impl>(mImpl->entries[index]));
    return NxResult();
}

NxResult NxGenEnum::GetEntryByName(const NxString& name, NxGenEnumEntry& entry) const {
    for (const Script::EnumEntry& candidate : mImpl->entries) {
        if (name == candidate.name.c_str()) {
            entry = NxGenEnumEntry(std::make_shared<NxGenEnumEntry::Impl>(candidate));
            return NxResult();
        }
    }
    return NxResult(kNxNoSuchNode);
}

NxGenEnumEntry::NxGenEnumEntry() = default;
NxGenEnumEntry::NxGenEnumEntry(std::shared_ptr<const Impl> impl) : mImpl(std::move(impl)) {}
NxGenEnumEntry::~NxGenEnumEntry() = default;
NxGenEnumEntry::NxGenEnumEntry(const NxGenEnumEntry&) = default;
NxGenEnumEntry& NxGenEnumEntry::operator=(const NxGenEnumEntry&) = default;

NxResult NxGenEnumEntry::GetDisplayName(NxString& text) const {
    if (mImpl == nullptr) {
        return NxResult(kNxNoSuchNode);
    }
    text = mImpl->displayName;
    return NxResult();
}
