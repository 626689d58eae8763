#include "NodeTable.h"

#include <algorithm>
#include <unordered_map>

namespace {

// A description of 1.3 MB, the largest that was met, has 15,000 nodes with 90,000 properties.
constexpr std::size_t kMostNodes = 100000;
constexpr std::size_t kMostProperties = 300000;
constexpr std::size_t kSmallestElement = 8;  // bytes, about

const std::unordered_map<std::string_view, NodeKind> kKinds = {
    {"Integer", NodeKind::kInteger},
    {"IntReg", NodeKind::kIntReg},
    {"MaskedIntReg", NodeKind::kIntReg},
    {"StructReg", NodeKind::kStructReg},
    {"IntSwissKnife", NodeKind::kIntSwissKnife},
    {"IntConverter", NodeKind::kIntConverter},
    {"SwissKnife", NodeKind::kSwissKnife},
    {"Converter", NodeKind::kConverter},
    {"Float", NodeKind::kFloat},
    {"FloatReg", NodeKind::kFloatReg},
    {"Boolean", NodeKind::kBoolean},
    {"Command", NodeKind::kCommand},
    {"Enumeration", NodeKind::kEnumeration},
    {"String", NodeKind::kString},
    {"StringReg", NodeKind::kStringReg},
    {"Register", NodeKind::kRegister},
    {"Port", NodeKind::kPort},
};

const std::unordered_map<std::string_view, NodeTag> kTags = {
    {"Value", NodeTag::kValue},
    {"pValue", NodeTag::kPValue},
    {"pValueCopy", NodeTag::kPValueCopy},
    {"ValueIndexed", NodeTag::kValueIndexed},
    {"pValueIndexed", NodeTag::kPValueIndexed},
    {"ValueDefault", NodeTag::kValueDefault},
    {"pValueDefault", NodeTag::kPValueDefault},
    {"pIndex", NodeTag::kPIndex},
    {"Address", NodeTag::kAddress},
    {"pAddress", NodeTag::kPAddress},
    {"Length", NodeTag::kLength},
    {"pLength", NodeTag::kPLength},
    {"LSB", NodeTag::kLsb},
    {"MSB", NodeTag::kMsb},
    {"Bit", NodeTag::kBit},
    {"Sign", NodeTag::kSign},
    {"Endianess", NodeTag::kEndianess},
    {"AccessMode", NodeTag::kAccessMode},
    {"ImposedAccessMode", NodeTag::kImposedAccessMode},
    {"pIsImplemented", NodeTag::kPIsImplemented},
    {"pIsAvailable", NodeTag::kPIsAvailable},
    {"pIsLocked", NodeTag::kPIsLocked},
    {"Min", NodeTag::kMin},
    {"pMin", NodeTag::kPMin},
    {"Max", NodeTag::kMax},
    {"pMax", NodeTag::kPMax},
    {"Inc", NodeTag::kInc},
    {"pInc", NodeTag::kPInc},
    {"pPort", NodeTag::kPPort},
    {"pInvalidator", NodeTag::kPInvalidator},
    {"Cachable", NodeTag::kCachable},
    {"PollingTime", NodeTag::kPollingTime},
    {"Formula", NodeTag::kFormula},
    {"FormulaTo", NodeTag::kFormulaTo},
    {"FormulaFrom", NodeTag::kFormulaFrom},
    {"pVariable", NodeTag::kPVariable},
    {"Constant", NodeTag::kConstant},
    {"Expression", NodeTag::kExpression},
    {"OnValue", NodeTag::kOnValue},
    {"OffValue", NodeTag::kOffValue},
    {"CommandValue", NodeTag::kCommandValue},
    {"pCommandValue", NodeTag::kPCommandValue},
    {"Symbolic", NodeTag::kSymbolic},
    {"DisplayName", NodeTag::kDisplayName},
    {"ChunkID", NodeTag::kChunkId},
    {"pChunkID", NodeTag::kPChunkId},
    {"EventID", NodeTag::kEventId},
};

template <typename Value>
std::optional<Value> ValueAt(const std::unordered_map<std::string_view, Value>& values,
                             std::string_view name) {
    const auto found = values.find(name);
    return found != values.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace

std::optional<NodeKind> KindOfElement(std::string_view name) {
    return ValueAt(kKinds, name);
}

std::optional<NodeTag> TagOfElement(std::string_view name) {
    return ValueAt(kTags, name);
}

NodeTable::NodeTable(std::size_t size) {
    // What is grown step by step is held twice, and what was left may not be used again.
    mTexts.reserve(std::min(kMostText, size));
    mNodes.reserve(std::min(kMostNodes, size / kSmallestElement));
    mProperties.reserve(std::min(kMostProperties, size / kSmallestElement));
}

bool NodeTable::HasRoomFor(std::size_t bytes) const {
    return bytes <= kMostText - mTexts.size();
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
    const auto found =
        std::lower_bound(mByName.begin(), mByName.end(), name,
                         [this](Id node, std::string_view wanted) { return Name(node) < wanted; });
    return found != mByName.end() && Name(*found) == name ? *found : kNone;
}

NodeTable::Property NodeTable::PropertyAt(Id node, std::size_t index) const {
    const Stored& stored = mProperties[mNodes[node].first + index];
    return {.tag = stored.tag,
            .text = View(stored.text),
            .attribute = View(stored.attribute),
            .inlineNode = stored.inlineNode};
}
