#include <NxGenICam/NxGenParameterArray.h>

#include <utility>

#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "EnumImpl.h"
#include "ParameterArrayImpl.h"

NxGenEnum* NxGenParameterArray::Impl::FindEnum(const std::string& name) {
    NodeMap::Id node = NodeTable::kNone;
    if (!mNodes->Find(name, NodeKind::kEnumeration, node).IsOK() || node == NodeTable::kNone) {
        return nullptr;
    }
    std::unique_ptr<NxGenEnum>& known = mEnums[name];
    if (known == nullptr) {
        known = std::make_unique<NxGenEnum>(std::make_unique<NxGenEnum::Impl>(*mNodes, node));
    }
    return known.get();
}

NxGenParameterArray::NxGenParameterArray(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxGenParameterArray::~NxGenParameterArray() = default;

NxResult NxGenParameterArray::GetStringValue(const NxString& name, NxString& value) {
    std::string text;
    NxResult result = mImpl->Nodes().ReadText(name.GetAscii(), text);
    if (result.IsOK()) {
        value = text;
    }
    return result;
}

NxGenEnum* NxGenParameterArray::GetEnum(const NxString& name) {
    return mImpl->FindEnum(name.GetAscii());
}

NxResult MakeParameterArray(std::shared_ptr<GenPort> port, const std::string& xml,
                            std::unique_ptr<NxGenParameterArray>& parameters) {
    std::unique_ptr<NodeMap> nodes;
    NxResult result = NodeMap::Load(std::move(port), xml, nodes);
    if (result.IsOK()) {
        parameters = std::make_unique<NxGenParameterArray>(
            std::make_unique<NxGenParameterArray::Impl>(std::move(nodes)));
    }
    return result;
}
