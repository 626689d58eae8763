#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

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

/// "extensions", "harmless-oddities", "large", "schema-1.0", "padding", "odd-zip", "blanks",
/// "second-url".
[[nodiscard]] const char* NameOf(DescriptionShape shape);
[[nodiscard]] std::optional<DescriptionShape> ShapeNamed(const std::string& name);
[[nodiscard]] const std::vector<DescriptionShape>& AllShapes();

}  // namespace simulator
