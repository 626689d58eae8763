#include "RegisterLayout.h"

#include "simulator/device/NameTable.h"

namespace simulator {

namespace {

constexpr NameTable<RegisterLayout, 10> kLayouts{{{
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
}}};

}  // namespace

const char* NameOf(RegisterLayout layout) {
    return kLayouts.NameOf(layout);
}

std::optional<RegisterLayout> LayoutNamed(const std::string& name) {
    return name == "selector-dependent" ? RegisterLayout::kSelectorDependent
                                        : kLayouts.ValueNamed(name);
}

const std::vector<RegisterLayout>& AllLayouts() {
    static const std::vector<RegisterLayout> kAll = kLayouts.Values();
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
