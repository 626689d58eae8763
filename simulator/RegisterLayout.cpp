#include "RegisterLayout.h"

#include <algorithm>
#include <array>
#include <utility>

namespace simulator {

namespace {

constexpr std::array<std::pair<RegisterLayout, const char*>, 10> kLayouts{{
    {RegisterLayout::kPlain, "plain"},
    {RegisterLayout::kSelectorDependent, "selector"},
    {RegisterLayout::kBitFields, "bitfields"},
    {RegisterLayout::kLocalSelectors, "local-selectors"},
    {RegisterLayout::kCommandRegister, "command-register"},
    {RegisterLayout::kWriteOnlyExecute, "write-only-execute"},
    {RegisterLayout::kReadOnlyOffset, "read-only-offset"},
    {RegisterLayout::kWide, "wide"},
    {RegisterLayout::kLittleEndian, "little-endian"},
    {RegisterLayout::kLegacyEndian, "legacy-endian"},
}};

}  // namespace

const char* NameOf(RegisterLayout layout) {
    const auto* const found =
        std::find_if(kLayouts.begin(), kLayouts.end(),
                     [layout](const auto& entry) { return entry.first == layout; });
    return found->second;
}

std::optional<RegisterLayout> LayoutNamed(const std::string& name) {
    if (name == "selector-dependent") {
        return RegisterLayout::kSelectorDependent;
    }
    const auto* const found =
        std::find_if(kLayouts.begin(), kLayouts.end(),
                     [&name](const auto& entry) { return entry.second == name; });
    return found == kLayouts.end() ? std::nullopt : std::optional(found->first);
}

const std::vector<RegisterLayout>& AllLayouts() {
    static const std::vector<RegisterLayout> kAll = [] {
        std::vector<RegisterLayout> all;
        for (const auto& [layout, name] : kLayouts) {
            all.push_back(layout);
        }
        return all;
    }();
    return kAll;
}

std::endian RegisterOrder(RegisterLayout layout, Bus bus) {
    return bus == Bus::kGigEVision && layout != RegisterLayout::kLittleEndian &&
                   layout != RegisterLayout::kLegacyEndian
               ? std::endian::big
               : std::endian::little;
}

std::endian DescribedOrder(RegisterLayout layout, Bus bus) {
    return layout == RegisterLayout::kLegacyEndian ? std::endian::big : RegisterOrder(layout, bus);
}

}  // namespace simulator
