#include "DescriptionShape.h"

#include "simulator/device/NameTable.h"

namespace simulator {

namespace {

constexpr NameTable<DescriptionShape, 8> kShapes{{{
    {DescriptionShape::kExtensions, "extensions"},
    {DescriptionShape::kHarmlessOddities, "harmless-oddities"},
    {DescriptionShape::kLarge, "large"},
    {DescriptionShape::kSchema10, "schema-1.0"},
    {DescriptionShape::kPadding, "padding"},
    {DescriptionShape::kOddZip, "odd-zip"},
    {DescriptionShape::kBlanks, "blanks"},
    {DescriptionShape::kSecondUrl, "second-url"},
}}};

}  // namespace

const char* NameOf(DescriptionShape shape) {
    return kShapes.NameOf(shape);
}

std::optional<DescriptionShape> ShapeNamed(const std::string& name) {
    return kShapes.ValueNamed(name);
}

const std::vector<DescriptionShape>& AllShapes() {
    static const std::vector<DescriptionShape> kAll = kShapes.Values();
    return kAll;
}

}  // namespace simulator
