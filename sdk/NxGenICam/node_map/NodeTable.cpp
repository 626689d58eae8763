#include "NodeTable.h"

#include <algorithm>
#include <numeric>

namespace {

// A description of 1.3 MB, the largest that was met, has 15,000 nodes with 90,000 properties.
constexpr std::size_t kMostNodes = 100000;
constexpr std::size_t kMostProperties = 300000;
constexpr std::size_t kSmallestElement = 8;  // bytes, about

}  // namespace

NodeTable::NodeTable(std::size_t size) {
    // What is grown step by step is held twice, and what was left may not be used again.
    mTexts.reserve(std::min(kMostText, size));
    mNodes.reserve(std::min(kMostNodes, size / kSmallestElement));
    mProperties.reserve(std::min(kMostProperties, size / kSmallestElement));
}

bool NodeTable::HasRoomFor(std::size_t bytes) const {
    return bytes <= kMostText - std::min(kMostText, mTexts.size());
}

NodeTable::Text NodeTable::Keep(std::string_view text) {
    const Text kept{.begin = static_cast<std::uint32_t>(mTexts.size()),
                    .length = static_cast<std::uint32_t>(text.size())};
    mTexts += text;
    return kept;
}

NodeTable::Id NodeTable::Add(NodeKind kind, std::string_view name, Id parent) {
    if (mNodes.size() >= kMostNodes || !HasRoomFor(name.size())) {
        return kNone;
    }
    if (name.size() > kLongestName) {
        name = {};
    }
    mNodes.push_back({.kind = kind, .name = Keep(name), .parent = parent});
    if (parent != kNone) {
        ++mNodes[parent].entries;
    }
    return static_cast<Id>(mNodes.size() - 1);
}

bool NodeTable::Append(Id node, NodeTag tag, std::string_view text, std::string_view attribute,
                       Id inlineNode) {
    if (mProperties.size() >= kMostProperties || !HasRoomFor(text.size() + attribute.size())) {
        return false;
    }
    mProperties.push_back({.tag = tag,
                           .text = Keep(text),
                           .attribute = Keep(attribute),
                           .inlineNode = inlineNode,
                           .owner = node});
    return true;
}

void NodeTable::Finish() {
    // A node's properties are interleaved with those of the nodes inside it.
    const auto isBefore = [](const Stored& a, const Stored& b) { return a.owner < b.owner; };
    if (!std::is_sorted(mProperties.begin(), mProperties.end(), isBefore)) {
        std::stable_sort(mProperties.begin(), mProperties.end(), isBefore);
    }
    for (std::uint32_t i = 0; i < mProperties.size(); ++i) {
        Node& owner = mNodes[mProperties[i].owner];
        owner.first = owner.count == 0 ? i : owner.first;
        ++owner.count;
    }
    mByName.clear();
    for (Id node = 0; node < mNodes.size(); ++node) {
        // An entry's name is one within its enumeration.
        if (!Name(node).empty() && mNodes[node].kind != NodeKind::kEnumEntry) {
            mByName.push_back(node);
        }
    }
    std::stable_sort(mByName.begin(), mByName.end(),
                     [this](Id a, Id b) { return Name(a) < Name(b); });
}

NodeTable::Id NodeTable::Find(std::string_view name) const {
    if (name.size() > kLongestName) {
        return kNone;
    }
    const auto found =
        std::lower_bound(mByName.begin(), mByName.end(), name,
                         [this](Id node, std::string_view wanted) { return Name(node) < wanted; });
    return found != mByName.end() && Name(*found) == name ? *found : kNone;
}

std::vector<NodeTable::Id> NodeTable::Entries(Id enumeration) const {
    std::vector<Id> entries(mNodes[enumeration].entries);
    std::iota(entries.begin(), entries.end(), enumeration + 1);
    return entries;
}

NodeTable::Property NodeTable::PropertyAt(Id node, std::size_t index) const {
    const Stored& stored = mProperties[mNodes[node].first + index];
    return {.tag = stored.tag,
            .text = View(stored.text),
            .attribute = View(stored.attribute),
            .inlineNode = stored.inlineNode};
}
