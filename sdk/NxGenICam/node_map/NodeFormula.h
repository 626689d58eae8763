#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include <NxBase/NxResult.h>

#include "NodeValues.h"
#include "formula/Formula.h"

/// One evaluation of a node's formula, in integers or doubles, within an access to nodes: finds the
/// variables' values. Fails as NodeValues does.
template <typename Number>
class NodeFormula {
  public:
    /// @param values of the same access; outlives this object
    NodeFormula(NodeValues& values, NodeTable::Id node);
    NodeFormula(const NodeFormula&) = delete;
    NodeFormula& operator=(const NodeFormula&) = delete;

    /// A variable that the node does not declare: "TO" or "FROM".
    void Set(std::string_view name, Number value) { mKnown.emplace_back(name, value); }
    /// @param tag of the formula
    NxResult Evaluate(NodeTag tag, Number& value);

  private:
    Formula::Variable LookUp(std::string_view name, Number& value, NxResult& failure);
    NxResult VariableValue(const NodeTable::Property& variable, Number& value);
    NxResult Constant(std::string_view text, Number& value);
    NodeTable::Id FindEntry(NodeTable::Id enumeration, std::string_view name);

    NodeValues& mValues;
    NodeTable::Id mNode;
    /// Within one formula a variable has one value.
    std::vector<std::pair<std::string_view, Number>> mKnown;
    Formula::Lookup<Number> mLookup;
};
