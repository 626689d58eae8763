#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The kinds of node that have a value or lead to one (GenICam Standard 2.0, section 2.8).
enum class NodeKind : std::uint8_t {
    kInteger,
    kIntReg,  ///< also MaskedIntReg and StructEntry
    kIntSwissKnife,
    kIntConverter,
    kSwissKnife,
    kConverter,
    kFloat,
    kFloatReg,
    kBoolean,
    kCommand,
    kEnumeration,
    kEnumEntry,
    kString,
    kStringReg,
    kRegister,
    kStructReg,
    kPort,
};

/// The elements of a node that decide its value, place or rights.
enum class NodeTag : std::uint8_t {
    kValue,
    kPValue,
    kPValueCopy,
    kValueIndexed,
    kPValueIndexed,
    kValueDefault,
    kPValueDefault,
    kPIndex,          ///< attribute: a constant step, empty for the register's own length
    kPIndexWithStep,  ///< attribute: the node that gives the step
    kAddress,
    kPAddress,
    kLength,
    kPLength,
    kLsb,
    kMsb,
    kBit,
    kSign,
    kEndianess,
    kAccessMode,
    kImposedAccessMode,
    kPIsImplemented,
    kPIsAvailable,
    kPIsLocked,
    kMin,
    kPMin,
    kMax,
    kPMax,
    kInc,
    kPInc,
    kPPort,
    kPInvalidator,
    kCachable,
    kPollingTime,
    kFormula,
    kFormulaTo,
    kFormulaFrom,
    kPVariable,   ///< attribute: the variable's name in formulas
    kConstant,    ///< attribute: likewise
    kExpression,  ///< attribute: likewise
    kOnValue,
    kOffValue,
    kCommandValue,
    kPCommandValue,
    kSymbolic,
    kDisplayName,
    kChunkId,
    kPChunkId,
    kEventId,
};

/// What an element of that name is, "IntSwissKnife" or "pValue"; nothing when no value hangs on it.
[[nodiscard]] std::optional<NodeKind> KindOfElement(std::string_view name);
[[nodiscard]] std::optional<NodeTag> TagOfElement(std::string_view name);

/// The nodes of one device description, as texts: what a text is worth is judged when a node is
/// asked for. Holds a bounded amount of memory, whatever the description.
class NodeTable {
  public:
    using Id = std::uint32_t;
    static constexpr Id kNone = 0xFFFFFFFF;
    static constexpr std::size_t kMostText = std::size_t{8} << 20U;  ///< bytes, of all together
    /// Longer texts name nothing.
    static constexpr std::size_t kLongestName = 1000;

    struct Property {
        NodeTag tag;
        std::string_view text;
        std::string_view attribute;
        Id inlineNode;  ///< the formula in place of a name; kNone without one
    };

    NodeTable() = default;
    /// @param size of the description, bytes
    explicit NodeTable(std::size_t size);

    /// @param parent of an entry: its enumeration or structure, else kNone
    /// @return kNone when the table is full
    Id Add(NodeKind kind, std::string_view name, Id parent);
    /// Collects a property of a node that is under construction.
    /// @return false when the table is full
    bool Append(Id node, NodeTag tag, std::string_view text, std::string_view attribute,
                Id inlineNode = kNone);
    /// To be called once all nodes are there; sorts them by name.
    void Finish();

    [[nodiscard]] std::size_t Count() const { return mNodes.size(); }
    /// The first node of that name; kNone without one.
    [[nodiscard]] Id Find(std::string_view name) const;
    [[nodiscard]] NodeKind Kind(Id node) const { return mNodes[node].kind; }
    [[nodiscard]] std::string_view Name(Id node) const { return View(mNodes[node].name); }
    [[nodiscard]] Id Parent(Id node) const { return mNodes[node].parent; }
    /// The entries of an enumeration are the nodes after it up to this one, which is the
    /// enumeration itself when it has none.
    [[nodiscard]] Id LastEntry(Id enumeration) const {
        return enumeration + mNodes[enumeration].entries;
    }

    [[nodiscard]] std::size_t PropertyCount(Id node) const { return mNodes[node].count; }
    /// In the order of the description.
    [[nodiscard]] NodeTag TagAt(Id node, std::size_t index) const {
        return mProperties[mNodes[node].first + index].tag;
    }
    [[nodiscard]] Property PropertyAt(Id node, std::size_t index) const;

  private:
    struct Text {
        std::uint32_t begin;
        std::uint32_t length;
    };
    struct Node {
        NodeKind kind;
        Text name;
        Id parent;
        std::uint32_t first = 0;
        std::uint32_t count = 0;
        std::uint32_t entries = 0;
    };
    struct Stored {
        NodeTag tag;
        Text text;
        Text attribute;
        Id inlineNode;
        Id owner;
    };

    [[nodiscard]] std::string_view View(Text text) const {
        return std::string_view(mTexts).substr(text.begin, text.length);
    }
    [[nodiscard]] bool HasRoomFor(std::size_t bytes) const;
    Text Keep(std::string_view text);

    std::string mTexts;
    std::vector<Node> mNodes;
    std::vector<Stored> mProperties;
    std::vector<Id> mByName;
};
