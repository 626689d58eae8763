#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <NxBase/NxResult.h>
#include <NxBase/NxResultCodes.h>

#include "NodeTable.h"
#include "formula/EvaluationBudget.h"
#include "registers/RegisterBus.h"
#include "registers/RegisterFormat.h"
#include "registers/RegisterView.h"

/// One access to a node: finds values by following what the nodes refer to, down to the registers
/// (NodePlaces). Created for each access; never keeps a value. Judges only the nodes that it
/// comes by.
///
/// Every operation fails with kNxNodeAccess or kNxBadDescription for a node that has no such value,
/// is malformed, depends on itself or costs too much to evaluate, and hands on what the bus gives.
class NodeValues {
  public:
    using Id = NodeTable::Id;
    /// Values that a description holds itself and that may be set: selectors without a register.
    using LocalValues = std::map<Id, std::variant<std::int64_t, double, std::string>>;

    /// A register of a device: where it is and how long.
    struct Place {
        std::uint64_t address = 0;
        std::uint64_t length = 0;
    };
    /// Where a node's value comes from: another node, or the description.
    struct Source {
        Id node = NodeTable::kNone;
        std::string_view constant;
        bool isLocal = false;  ///< a constant that may be set
    };

    /// @param view null to access the device each time
    NodeValues(const NodeTable& table, RegisterBus& bus, LocalValues& locals, RegisterView* view);

    NxResult Integer(Id node, std::int64_t& value);
    NxResult Float(Id node, double& value);
    /// Of a String, StringReg or whatever they refer to; up to the first zero byte.
    NxResult Text(Id node, std::string& text);
    /// The largest value that an integer says it may have.
    NxResult Maximum(Id node, std::int64_t& value);
    /// The smallest; 0 when it says nothing.
    NxResult Minimum(Id node, std::int64_t& value);
    /// The steps between the values that an integer may have; 1 when it says nothing.
    NxResult Increment(Id node, std::int64_t& value);
    /// What starts a command.
    NxResult CommandValue(Id command, std::int64_t& value);

    NxResult FindSource(Id node, Source& source);

    // For those that complete an access: places, rights and writes.

    /// The node's own element, or that of the structure which an entry belongs to.
    std::optional<NodeTable::Property> Find(Id node, NodeTag tag);
    /// What it says; empty without one.
    std::string_view TextOf(Id node, NodeTag tag);
    NxResult Follow(const NodeTable::Property& reference, Id& node);
    /// The value of the node that it names.
    NxResult IntegerBehind(const NodeTable::Property& reference, std::int64_t& value);
    /// The node whose value a converter converts.
    NxResult FindInput(Id converter, Id& input);
    /// A number as the description writes it.
    NxResult Constant(Id node, std::string_view text, std::int64_t& value);
    /// A number that the node gives itself or by reference.
    NxResult Bound(Id node, NodeTag constant, NodeTag reference, std::int64_t& value, bool& has);
    NxResult ValueOf(Id node, std::int64_t& value) { return Integer(node, value); }
    NxResult ValueOf(Id node, double& value) { return Float(node, value); }
    [[nodiscard]] NxResult Fail(Id node, const std::string& reason,
                                unsigned int code = kNxNodeAccess) const;
    [[nodiscard]] const NodeTable& Table() const { return mTable; }
    [[nodiscard]] RegisterBus& Bus() const { return mBus; }
    [[nodiscard]] LocalValues& Locals() const { return mLocals; }
    [[nodiscard]] RegisterView* View() const { return mView; }
    /// What is left to this access.
    [[nodiscard]] EvaluationBudget& Budget() { return mBudget; }
    /// Whether what is evaluated decides where a register is.
    [[nodiscard]] bool IsInPlace() const { return mPlaces > 0; }

    /// What a node is visited for: reading a value while setting the same node is not a cycle.
    enum class Purpose {
        kValue,
        kBound,
        kRights,
        kExpression,
        kSetInteger,
        kSetFloat,
        kSetInput,
    };

    /// A node that is being evaluated: fails when it is already, or too deep inside others.
    class Visit {
      public:
        /// @param part of the node, where it has several for one purpose
        Visit(NodeValues& values, Id node, Purpose purpose, std::size_t part = 0);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;
        [[nodiscard]] const NxResult& Result() const { return mResult; }

      private:
        NodeValues& mValues;
        NxResult mResult;
    };

    /// While it lives, what is evaluated decides where a register is, or what starts a command.
    class InPlace {
      public:
        explicit InPlace(NodeValues& values) : mValues(values) { ++mValues.mPlaces; }
        ~InPlace() { --mValues.mPlaces; }
        InPlace(const InPlace&) = delete;
        InPlace& operator=(const InPlace&) = delete;

      private:
        NodeValues& mValues;
    };

  private:
    struct Visited {
        Id node;
        Purpose purpose;
        std::size_t part;
        bool operator==(const Visited&) const = default;
    };
    /// The value that was set in place of the description's; null without one.
    template <typename Number>
    const Number* Local(Id node, const Source& source) const;
    template <typename Number>
    NxResult Converted(Id node, Number& value);
    NxResult SourceInteger(Id node, std::int64_t& value);
    NxResult IndexedSource(Id node, const NodeTable::Property& index, Source& source);

    const NodeTable& mTable;
    RegisterBus& mBus;
    LocalValues& mLocals;
    RegisterView* mView;
    EvaluationBudget mBudget;
    std::vector<Visited> mPath;
    int mPlaces = 0;  ///< addresses that are being computed, one inside the other
};
