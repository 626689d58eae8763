#include <NxGenICam/NxGenParameterArray.h>

#include <utility>

#include <internal/NxBase/ReturnIfFailed.h>
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
    NX_RETURN_IF_FAILED(mImpl->Nodes().ReadText(name.GetAscii(), text));
    value = text;
    return {};
}

NxResult NxGenParameterArray::ExecuteCommand(const NxString& name) {
    return mImpl->Nodes().Execute(name.GetAscii());
}

NxGenEnum* NxGenParameterArray::GetEnum(const NxString& name) {
    return mImpl->FindEnum(name.GetAscii());
}

NxResult MakeParameterArray(std::shared_ptr<GenPort> port, const std::string& xml,
                            std::unique_ptr<NxGenParameterArray>& parameters) {
    std::unique_ptr<NodeMap> nodes;
    NX_RETURN_IF_FAILED(NodeMap::Load(std::move(port), xml, nodes));
    parameters = std::make_unique<NxGenParameterArray>(
        std::make_unique<NxGenParameterArray::Impl>(std::move(nodes)));
    return {};
}
