#pragma once

#include <string>

namespace simulator {

// The parts of descriptions other than a device's features, as XML.

/// An Extension for the node of that name. It holds what a reader must not take for the node's own
/// children: the same elements with other contents, other nodes, nodes of the same name, foreign
/// namespaces. @param indent of the line it begins on
[[nodiscard]] std::string ExtensionOf(const std::string& node, const std::string& indent);

/// The category OddControl and nodes that no reader can use, only pass over: of unknown kinds, with
/// unknown elements, with references to nothing and to themselves, with formulas and lengths that
/// have no value.
[[nodiscard]] std::string OddNodes();

/// So many bytes, at least, of nodes that are all right and that nobody asks for.
[[nodiscard]] std::string FurtherNodes(std::size_t bytes);

}  // namespace simulator
