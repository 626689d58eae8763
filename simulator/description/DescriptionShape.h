#pragma once

#include <set>

#include "simulator/device/NameTable.h"

namespace simulator {

/// What is odd about a description or about the way it is stored, and harmless to whoever reads
/// only what is meant for them. They may be combined.
enum class DescriptionShape {
    kExtensions,        ///< every node begins with an Extension of its maker's own
    kHarmlessOddities,  ///< nodes and elements that nobody knows or asks for, broken ones too
    kLarge,             ///< 1.2 MB of further nodes
    kSchema10,          ///< of GenApi schema 1.0, which wants 4 bytes by register commands
    kPadding,           ///< NULs and the rest of an older text behind it
    kOddZip,            ///< zipped, with a data descriptor, odd extra fields and bytes at the end
    kBlanks,            ///< blanks, lower case, a folder and a schema version in the URL
    kSecondUrl          ///< the first URL leads nowhere
};
using DescriptionShapes = std::set<DescriptionShape>;

inline constexpr NameTable<DescriptionShape, 8> kShapeNames{{{
    {DescriptionShape::kExtensions, "extensions"},
    {DescriptionShape::kHarmlessOddities, "harmless-oddities"},
    {DescriptionShape::kLarge, "large"},
    {DescriptionShape::kSchema10, "schema-1.0"},
    {DescriptionShape::kPadding, "padding"},
    {DescriptionShape::kOddZip, "odd-zip"},
    {DescriptionShape::kBlanks, "blanks"},
    {DescriptionShape::kSecondUrl, "second-url"},
}}};

}  // namespace simulator
