#include "LengthGuard.h"

#include <NxBase/NxResultCodes.h>

#include "NodeLinks.h"

namespace {

constexpr std::uint64_t kLongestText = 1U << 20U;
constexpr std::uint64_t kLongestRegister = 16U << 20U;

}  // namespace

LengthGuard::LengthGuard(ArvGc* genicam, GenDevice& device, const DescriptionFacts& facts)
    : mGenicam(genicam),
      mDevice(device),
      mVariableLengths(facts.variableLengths),
      mLinks(facts.variableLengths.empty() ? NodeGraph() : facts.links) {}

NxResult LengthGuard::Check(const std::string& node) {
    if (mVariableLengths.empty()) {
        return {};
    }
    mDevice.KeepReads();
    NxResult result = CheckRegisters(ListRegistersReadBy(node));
    mDevice.RepeatReads();
    return result;
}

NxResult LengthGuard::CheckRegisters(const std::vector<std::string>& names) {
    for (const std::string& one : names) {
        ArvGcRegister* found = FindRegister(one);
        if (found == nullptr) {
            continue;
        }
        GError* error = nullptr;
        const std::uint64_t length = arv_gc_register_get_length(found, &error);
        // One whose length cannot be read is not read either, and may not be needed now.
        if (mDevice.Check(one, error).IsOK() && length > kLongestRegister) {
            return NxResult(kNxBadDescription,
                            mDevice.Port().DeviceName() + " says that its register " + one +
                                " has " + std::to_string(length) + " bytes; 16 MiB is the most");
        }
    }
    return {};
}

NxResult LengthGuard::CheckText(ArvGcFeatureNode* node) {
    ArvGcNode* end = NodeLinks::FollowValue(ARV_GC_NODE(node));
    if (end == nullptr || !ARV_IS_GC_REGISTER(end)) {
        return {};
    }
    GError* error = nullptr;
    const std::uint64_t length = arv_gc_register_get_length(ARV_GC_REGISTER(end), &error);
    NxResult result = mDevice.Check("Cannot read a text of " + mDevice.Port().DeviceName(), error);
    if (result.IsOK() && length > kLongestText) {
        return NxResult(kNxBadDescription, mDevice.Port().DeviceName() + " has a text of " +
                                               std::to_string(length) +
                                               " bytes; 1 MiB is the most");
    }
    return result;
}

const std::vector<std::string>& LengthGuard::ListRegistersReadBy(const std::string& node) {
    const auto [known, isNew] = mReadBy.try_emplace(node);
    std::vector<std::string>& registers = known->second;
    if (isNew) {
        for (const std::string& read : mLinks.ListReachable(node)) {
            if (const auto found = mVariableLengths.find(read); found != mVariableLengths.end()) {
                registers.insert(registers.end(), found->second.begin(), found->second.end());
            }
        }
    }
    return registers;
}

ArvGcRegister* LengthGuard::FindRegister(const std::string& name) {
    ArvGcNode* node = arv_gc_get_node(mGenicam, name.c_str());
    if (node != nullptr && ARV_IS_GC_STRUCT_ENTRY_NODE(node)) {
        node = ARV_GC_NODE(arv_dom_node_get_parent_node(ARV_DOM_NODE(node)));
    }
    return node != nullptr && ARV_IS_GC_REGISTER(node) ? ARV_GC_REGISTER(node) : nullptr;
}
