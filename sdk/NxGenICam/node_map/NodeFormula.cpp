#include "NodeFormula.h"

#include <algorithm>
#include <string>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "formula/FormulaArithmetic.h"

template <typename Number>
NodeFormula<Number>::NodeFormula(NodeValues& values, NodeTable::Id node)
    : mValues(values),
      mNode(node),
      mLookup([this](std::string_view name, Number& value, NxResult& failure) {
          return LookUp(name, value, failure);
      }) {}

template <typename Number>
NxResult NodeFormula<Number>::Evaluate(NodeTag tag, Number& value) {
    const auto formula = mValues.Find(mNode, tag);
    if (!formula.has_value()) {
        return mValues.Fail(mNode, "has no formula");
    }
    NxResult result = Formula::Evaluate(formula->text, mLookup, mValues.Budget(), value);
    const std::string reason = result.GetDescription().GetAscii();
    // The formula's own failures say what is wrong with it and not where.
    return result.GetCode() == kNxNodeAccess &&
                   reason.find(mValues.Bus().Port().DeviceName()) == std::string::npos
               ? mValues.Fail(mNode, "has a formula that cannot be evaluated: " + reason)
               : result;
}

template <typename Number>
Formula::Variable NodeFormula<Number>::LookUp(std::string_view name, Number& value,
                                              NxResult& failure) {
    const auto known = std::ranges::find(mKnown, name, [](const auto& one) { return one.first; });
    if (known != mKnown.end()) {
        value = known->second;
        return Formula::Variable::kFound;
    }
    const NodeTable& table = mValues.Table();
    const std::size_t count = table.PropertyCount(mNode);
    mValues.Budget().TakeStepsForProperties(count);
    for (std::size_t i = 0; i < count; ++i) {
        const NodeTable::Property property = table.PropertyAt(mNode, i);
        if (property.attribute != name) {
            continue;
        }
        NxResult result;
        if (property.tag == NodeTag::kPVariable) {
            result = VariableValue(property, value);
        } else if (property.tag == NodeTag::kConstant) {
            result = Constant(property.text, value);
        } else if (property.tag == NodeTag::kExpression) {
            const NodeValues::Visit visit(mValues, mNode, NodeValues::Purpose::kExpression, i);
            result = visit.Result().IsOK()
                         ? Formula::Evaluate(property.text, mLookup, mValues.Budget(), value)
                         : visit.Result();
        } else {
            continue;
        }
        if (!result.IsOK()) {
            failure = result;
            return Formula::Variable::kFailed;
        }
        Set(property.attribute, value);
        return Formula::Variable::kFound;
    }
    return Formula::Variable::kAbsent;
}

template <typename Number>
NxResult NodeFormula<Number>::Constant(std::string_view text, Number& value) {
    std::int64_t integer = 0;
    double number = 0;
    NX_RETURN_IF_FAILED(mValues.Constant(mNode, text, integer));
    // A SwissKnife's may have a fraction.
    const bool isFloat = !Formula::ParseInteger(text, integer) && Formula::ParseFloat(text, number);
    value = isFloat ? static_cast<Number>(number) : static_cast<Number>(integer);
    return {};
}

template <typename Number>
NxResult NodeFormula<Number>::VariableValue(const NodeTable::Property& variable, Number& value) {
    NodeTable::Id target = NodeTable::kNone;
    NX_RETURN_IF_FAILED(mValues.Follow(variable, target));
    // "WIDTH.Max" is the maximum of the node; without a suffix it is the value.
    const std::size_t dot = variable.attribute.find('.');
    const std::string_view suffix =
        dot != std::string_view::npos ? variable.attribute.substr(dot + 1) : "Value";
    if (suffix == "Value" || suffix == "Enum") {
        return mValues.ValueOf(target, value);
    }
    std::int64_t bound = 0;
    bool has = true;
    constexpr std::string_view kEntry = "Entry.";
    if (suffix == "Max") {
        NX_RETURN_IF_FAILED(mValues.Maximum(target, bound));
    } else if (suffix == "Inc") {
        NX_RETURN_IF_FAILED(mValues.Increment(target, bound));
    } else if (suffix == "Min") {
        NX_RETURN_IF_FAILED(mValues.Bound(target, NodeTag::kMin, NodeTag::kPMin, bound, has));
    } else {
        const NodeTable::Id entry = suffix.starts_with(kEntry)
                                        ? FindEntry(target, suffix.substr(kEntry.size()))
                                        : NodeTable::kNone;
        has = entry != NodeTable::kNone;
        NX_RETURN_IF_FAILED(has ? mValues.Integer(entry, bound) : NxResult());
    }
    if (!has) {
        return mValues.Fail(target, "does not have a property that a formula uses");
    }
    value = static_cast<Number>(bound);
    return {};
}

template <typename Number>
NodeTable::Id NodeFormula<Number>::FindEntry(NodeTable::Id enumeration, std::string_view name) {
    const NodeTable& table = mValues.Table();
    for (NodeTable::Id entry = enumeration + 1;
         entry <= table.LastEntry(enumeration) && mValues.Budget().TakeStep(); ++entry) {
        if (table.Name(entry) == name) {
            return entry;
        }
    }
    return NodeTable::kNone;
}

template class NodeFormula<std::int64_t>;
template class NodeFormula<double>;
