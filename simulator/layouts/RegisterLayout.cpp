#include "RegisterLayout.h"

namespace simulator {

std::optional<RegisterLayout> LayoutNamed(const std::string& name) {
    return name == "selector-dependent" ? RegisterLayout::kSelectorDependent
                                        : kLayoutNames.ValueNamed(name);
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
