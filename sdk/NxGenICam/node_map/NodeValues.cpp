#include "NodeValues.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>

#include "NodePlaces.h"
#include "formula/FormulaArithmetic.h"

namespace {

// What a visit is for: reading a value while locating the same node is not a cycle.
enum Purpose : int { kValue = 0, kBound = 2 };

constexpr std::uint64_t kLongestText = std::uint64_t{1} << 20U;

bool IsIntegerKind(NodeKind kind) {
    switch (kind) {
        case NodeKind::kInteger:
        case NodeKind::kEnumeration:
        case NodeKind::kCommand:
        case NodeKind::kBoolean:
            return true;
        default:
            return false;
    }
}

bool IsFloatKind(NodeKind kind) {
    switch (kind) {
        case NodeKind::kFloat:
        case NodeKind::kFloatReg:
        case NodeKind::kSwissKnife:
        case NodeKind::kConverter:
            return true;
        default:
            return false;
    }
}

}  // namespace

NodeValues::NodeValues(const NodeTable& table, RegisterBus& bus, LocalValues& locals,
                       RegisterView* view)
    : mTable(table), mBus(bus), mLocals(locals), mView(view) {}

NodeValues::Visit::Visit(NodeValues& values, Id node, int purpose) : mValues(values) {
    const Visited visited{.node = node, .purpose = purpose};
    const bool isCircle =
        std::find(values.mPath.begin(), values.mPath.end(), visited) != values.mPath.end();
    values.mPath.push_back(visited);
    values.mBudget.depth -= EvaluationBudget::kDepthOfNode;
    if (isCircle) {
        mResult = values.Fail(node, "depends on itself");
    } else if (values.mBudget.depth < 0 || !values.mBudget.TakeStep()) {
        mResult = values.Fail(node, "depends on too many other nodes");
    }
    if (!mResult.IsOK()) {
        mResult = NxResult(kNxBadDescription, mResult.GetDescription());
    }
}

NodeValues::Visit::~Visit() {
    mValues.mBudget.depth += EvaluationBudget::kDepthOfNode;
    mValues.mPath.pop_back();
}

NxResult NodeValues::Fail(Id node, const std::string& reason) const {
    std::string name(mTable.Name(node));
    if (name.empty() && mTable.Parent(node) != NodeTable::kNone) {
        name = std::string(mTable.Name(mTable.Parent(node)));
    }
    return NxResult(kNxNodeAccess, "The GenICam feature " + PrintableText(name) + " of " +
                                       mBus.Port().DeviceName() + " " + reason);
}

std::optional<NodeTable::Property> NodeValues::Find(Id node, NodeTag tag) {
    for (Id owner :
         {node, mTable.Kind(node) == NodeKind::kIntReg ? mTable.Parent(node) : NodeTable::kNone}) {
        if (owner == NodeTable::kNone) {
            break;
        }
        const std::size_t count = mTable.PropertyCount(owner);
        for (std::size_t i = 0; i < count; ++i) {
            const NodeTable::Property property = mTable.PropertyAt(owner, i);
            if (property.tag == tag) {
                mBudget.TakeStep(static_cast<int>(i / 32));
                return property;
            }
        }
        mBudget.TakeStep(static_cast<int>(count / 32));
    }
    return std::nullopt;
}

NxResult NodeValues::Follow(const NodeTable::Property& reference, Id& node) {
    const Id found = reference.inlineNode != NodeTable::kNone ? reference.inlineNode
                                                              : mTable.Find(reference.text);
    if (found == NodeTable::kNone) {
        return NxResult(kNxNodeAccess, "The GenICam description of " + mBus.Port().DeviceName() +
                                           " refers to an undefined node \"" +
                                           PrintableText(reference.text) + "\"");
    }
    node = found;
    return {};
}

NxResult NodeValues::Constant(Id node, std::string_view text, std::int64_t& value) {
    double number = 0;
    if (Formula::ParseInteger(text, value) ||
        (Formula::ParseFloat(text, number) &&
         FormulaArithmetic::Truncate(number, value) == nullptr)) {
        return {};
    }
    return Fail(node, "has a malformed number in its description");
}

NxResult NodeValues::FindSource(Id node, Source& source) {
    if (const auto index = Find(node, NodeTag::kPIndex)) {
        return IndexedSource(node, *index, source);
    }
    if (const auto reference = Find(node, NodeTag::kPValue)) {
        return Follow(*reference, source.node);
    }
    if (const auto constant = Find(node, NodeTag::kValue)) {
        source = {.constant = constant->text, .isLocal = true};
        return {};
    }
    return Fail(node, "has no value");
}

NxResult NodeValues::IndexedSource(Id node, const NodeTable::Property& index, Source& source) {
    Id indexNode = NodeTable::kNone;
    if (NxResult result = Follow(index, indexNode); !result.IsOK()) {
        return result;
    }
    std::int64_t wanted = 0;
    if (NxResult result = Integer(indexNode, wanted); !result.IsOK()) {
        return result;
    }
    std::optional<NodeTable::Property> chosen;
    for (std::size_t i = 0; i < mTable.PropertyCount(node); ++i) {
        const NodeTable::Property property = mTable.PropertyAt(node, i);
        std::int64_t number = 0;
        const bool isIndexed =
            property.tag == NodeTag::kValueIndexed || property.tag == NodeTag::kPValueIndexed;
        if (isIndexed && Formula::ParseInteger(property.attribute, number) && number == wanted) {
            chosen = property;
            break;
        }
        if (property.tag == NodeTag::kValueDefault || property.tag == NodeTag::kPValueDefault) {
            chosen = property;
        }
    }
    mBudget.TakeStep(static_cast<int>(mTable.PropertyCount(node) / 32));
    if (!chosen.has_value()) {
        return Fail(node, "has no value for the index " + std::to_string(wanted));
    }
    if (chosen->tag == NodeTag::kPValueIndexed || chosen->tag == NodeTag::kPValueDefault) {
        return Follow(*chosen, source.node);
    }
    source = {.constant = chosen->text};
    return {};
}

NxResult NodeValues::Integer(Id node, std::int64_t& value) {
    const NodeKind kind = mTable.Kind(node);
    if (IsFloatKind(kind)) {
        double number = 0;
        if (NxResult result = Float(node, number); !result.IsOK()) {
            return result;
        }
        const char* failure = FormulaArithmetic::Truncate(number, value);
        return failure == nullptr ? NxResult() : Fail(node, "has a value that is too large");
    }
    const Visit visit(*this, node, kValue);
    if (!visit.Result().IsOK()) {
        return visit.Result();
    }
    if (IsIntegerKind(kind)) {
        return SourceInteger(node, value);
    }
    switch (kind) {
        case NodeKind::kEnumEntry:
            if (const auto constant = Find(node, NodeTag::kValue)) {
                return Constant(node, constant->text, value);
            }
            return Fail(node, "has an entry without a value");
        case NodeKind::kIntReg:
            return NodePlaces(*this).Integer(node, value);
        case NodeKind::kIntSwissKnife:
            if (const auto formula = Find(node, NodeTag::kFormula)) {
                return Evaluate<std::int64_t>(node, formula->text, "", 0, value);
            }
            return Fail(node, "has no formula");
        case NodeKind::kIntConverter:
            return Converted(node, value);
        default:
            return Fail(node, "is not a number");
    }
}

NxResult NodeValues::SourceInteger(Id node, std::int64_t& value) {
    Source source;
    if (NxResult result = FindSource(node, source); !result.IsOK()) {
        return result;
    }
    std::int64_t number = 0;
    const auto local = mLocals.find(node);
    if (source.node != NodeTable::kNone) {
        if (NxResult result = Integer(source.node, number); !result.IsOK()) {
            return result;
        }
    } else if (source.isLocal && local != mLocals.end() &&
               std::holds_alternative<std::int64_t>(local->second)) {
        number = std::get<std::int64_t>(local->second);
    } else if (mTable.Kind(node) == NodeKind::kBoolean &&
               (source.constant == "true" || source.constant == "false")) {
        value = source.constant == "true" ? 1 : 0;
        return {};
    } else if (NxResult result = Constant(node, source.constant, number); !result.IsOK()) {
        return result;
    }
    if (mTable.Kind(node) == NodeKind::kBoolean) {
        std::int64_t on = 1;
        const auto property = Find(node, NodeTag::kOnValue);
        if (property.has_value()) {
            if (NxResult result = Constant(node, property->text, on); !result.IsOK()) {
                return result;
            }
        }
        number = number == on ? 1 : 0;
    }
    value = number;
    return {};
}

NxResult NodeValues::Float(Id node, double& value) {
    const NodeKind kind = mTable.Kind(node);
    if (!IsFloatKind(kind)) {
        std::int64_t number = 0;
        NxResult result = Integer(node, number);
        if (result.IsOK()) {
            value = static_cast<double>(number);
        }
        return result;
    }
    const Visit visit(*this, node, kValue);
    if (!visit.Result().IsOK()) {
        return visit.Result();
    }
    if (kind == NodeKind::kFloatReg) {
        return NodePlaces(*this).Float(node, value);
    }
    if (kind == NodeKind::kConverter) {
        return Converted(node, value);
    }
    if (kind == NodeKind::kSwissKnife) {
        if (const auto formula = Find(node, NodeTag::kFormula)) {
            return Evaluate<double>(node, formula->text, "", 0, value);
        }
        return Fail(node, "has no formula");
    }
    Source source;
    if (NxResult result = FindSource(node, source); !result.IsOK()) {
        return result;
    }
    if (source.node != NodeTable::kNone) {
        return Float(source.node, value);
    }
    const auto local = mLocals.find(node);
    if (source.isLocal && local != mLocals.end() && std::holds_alternative<double>(local->second)) {
        value = std::get<double>(local->second);
        return {};
    }
    return Formula::ParseFloat(source.constant, value)
               ? NxResult()
               : Fail(node, "has a malformed number in its description");
}

template <typename Number>
NxResult NodeValues::Converted(Id node, Number& value) {
    const auto formula = Find(node, NodeTag::kFormulaFrom);
    if (!formula.has_value()) {
        return Fail(node, "has no formula");
    }
    Source source;
    if (NxResult result = FindSource(node, source); !result.IsOK()) {
        return result;
    }
    if (source.node == NodeTable::kNone) {
        return Fail(node, "is a converter without an input node");
    }
    Number raw = 0;
    if (NxResult result = ValueOf(source.node, raw); !result.IsOK()) {
        return result;
    }
    return Evaluate<Number>(node, formula->text, "TO", raw, value);
}

NxResult NodeValues::FormulaFailure(Id node, NxResult result) const {
    // The formula's own failures say what is wrong with it and not where.
    return result.GetCode() == kNxNodeAccess &&
                   std::string_view(result.GetDescription().GetAscii())
                           .find(mBus.Port().DeviceName()) == std::string_view::npos
               ? Fail(node, std::string("has a formula that cannot be evaluated: ") +
                                result.GetDescription().GetAscii())
               : result;
}

template <typename Number>
NxResult NodeValues::Evaluate(Id node, std::string_view formula, std::string_view extra,
                              Number extraValue, Number& value) {
    KnownVariables<Number> known;
    if (!extra.empty()) {
        known.emplace_back(extra, extraValue);
    }
    const Formula::Lookup<Number> lookup = [this, node, &known](std::string_view name,
                                                                Number& found, NxResult& failure) {
        return LookUp(node, name, known, found, failure);
    };
    Number number = 0;
    NxResult result = Formula::Evaluate(formula, lookup, mBudget, number);
    if (!result.IsOK()) {
        return FormulaFailure(node, std::move(result));
    }
    value = number;
    return {};
}

template <typename Number>
Formula::Variable NodeValues::LookUp(Id node, std::string_view name, KnownVariables<Number>& known,
                                     Number& value, NxResult& failure) {
    // Within one formula a variable has one value.
    for (const auto& [knownName, knownValue] : known) {
        if (knownName == name) {
            value = knownValue;
            return Formula::Variable::kFound;
        }
    }
    const std::size_t count = mTable.PropertyCount(node);
    mBudget.TakeStep(static_cast<int>(count / 32));
    for (std::size_t i = 0; i < count; ++i) {
        const NodeTable::Property property = mTable.PropertyAt(node, i);
        if (property.attribute != name) {
            continue;
        }
        NxResult result;
        if (property.tag == NodeTag::kPVariable) {
            result = VariableValue(property, value);
        } else if (property.tag == NodeTag::kConstant) {
            std::int64_t integer = 0;
            double number = 0;
            if (Formula::ParseInteger(property.text, integer)) {
                value = static_cast<Number>(integer);
            } else if (Formula::ParseFloat(property.text, number) &&
                       FormulaArithmetic::Truncate(number, integer) == nullptr) {
                value = static_cast<Number>(number);
            } else {
                result = Fail(node, "has a malformed number in its description");
            }
        } else if (property.tag == NodeTag::kExpression) {
            const Visit visit(*this, node, static_cast<int>(100 + i));
            const Formula::Lookup<Number> lookup =
                [this, node, &known](std::string_view inner, Number& found, NxResult& reason) {
                    return LookUp(node, inner, known, found, reason);
                };
            result = visit.Result().IsOK()
                         ? Formula::Evaluate(property.text, lookup, mBudget, value)
                         : visit.Result();
        } else {
            continue;
        }
        if (!result.IsOK()) {
            failure = result;
            return Formula::Variable::kFailed;
        }
        known.emplace_back(property.attribute, value);
        return Formula::Variable::kFound;
    }
    return Formula::Variable::kAbsent;
}

template <typename Number>
NxResult NodeValues::VariableValue(const NodeTable::Property& variable, Number& value) {
    Id target = NodeTable::kNone;
    if (NxResult result = Follow(variable, target); !result.IsOK()) {
        return result;
    }
    // "WIDTH.Max" is the maximum of the node; without a suffix it is the value.
    const std::size_t dot = variable.attribute.find('.');
    const std::string_view suffix =
        dot != std::string_view::npos ? variable.attribute.substr(dot + 1) : "Value";
    if (suffix == "Value" || suffix == "Enum") {
        return ValueOf(target, value);
    }
    std::int64_t bound = 0;
    NxResult result;
    bool has = suffix != "Min" || Find(target, NodeTag::kMin) || Find(target, NodeTag::kPMin);
    constexpr std::string_view kEntry = "Entry.";
    if (suffix == "Max") {
        result = Maximum(target, bound);
    } else if (suffix == "Inc") {
        result = Increment(target, bound);
    } else if (suffix == "Min") {
        result = Minimum(target, bound);
    } else if (suffix.starts_with(kEntry)) {
        has = false;
        const std::size_t count = mTable.EntryCount(target);
        for (std::size_t i = 1; i <= count && !has && mBudget.TakeStep(); ++i) {
            const Id entry = target + static_cast<Id>(i);
            has = mTable.Name(entry) == suffix.substr(kEntry.size());
            result = has ? Integer(entry, bound) : NxResult();
        }
    } else {
        has = false;
    }
    if (result.IsOK() && !has) {
        result = Fail(target, "does not have a property that a formula uses");
    }
    if (result.IsOK()) {
        value = static_cast<Number>(bound);
    }
    return result;
}

template NxResult NodeValues::Evaluate<std::int64_t>(Id, std::string_view, std::string_view,
                                                     std::int64_t, std::int64_t&);
template NxResult NodeValues::Evaluate<double>(Id, std::string_view, std::string_view, double,
                                               double&);

NxResult NodeValues::Bound(Id node, NodeTag constant, NodeTag reference, std::int64_t& value,
                           bool& has) {
    has = true;
    if (const auto linked = Find(node, reference)) {
        Id target = NodeTable::kNone;
        NxResult result = Follow(*linked, target);
        return result.IsOK() ? Integer(target, value) : result;
    }
    if (const auto text = Find(node, constant)) {
        return Constant(node, text->text, value);
    }
    has = false;
    return {};
}

NxResult NodeValues::Maximum(Id node, std::int64_t& value) {
    const Visit visit(*this, node, kBound);
    if (!visit.Result().IsOK()) {
        return visit.Result();
    }
    bool has = false;
    if (NxResult result = Bound(node, NodeTag::kMax, NodeTag::kPMax, value, has);
        !result.IsOK() || has) {
        return result;
    }
    if (mTable.Kind(node) == NodeKind::kIntReg) {
        Place place;
        RegisterFormat format;
        NodePlaces places(*this);
        NxResult result = places.FindLength(node, place.length);
        if (result.IsOK()) {
            result = places.FindFormat(node, place, format);
        }
        if (result.IsOK()) {
            value = format.Largest(static_cast<std::size_t>(place.length));
        }
        return result;
    }
    Source source;
    if (mTable.Kind(node) == NodeKind::kInteger && FindSource(node, source).IsOK() &&
        source.node != NodeTable::kNone) {
        return Maximum(source.node, value);
    }
    return Fail(node, "has no maximum");
}

NxResult NodeValues::Minimum(Id node, std::int64_t& value) {
    bool has = false;
    NxResult result = Bound(node, NodeTag::kMin, NodeTag::kPMin, value, has);
    if (result.IsOK() && !has) {
        value = 0;
    }
    return result;
}

NxResult NodeValues::Increment(Id node, std::int64_t& value) {
    bool has = false;
    NxResult result = Bound(node, NodeTag::kInc, NodeTag::kPInc, value, has);
    if (result.IsOK() && !has) {
        value = 1;
    }
    return result;
}

NxResult NodeValues::CommandValue(Id command, std::int64_t& value) {
    // Whatever decides it stays as it is while the command is repeated.
    const InPlace inPlace(*this);
    bool has = false;
    NxResult result = Bound(command, NodeTag::kCommandValue, NodeTag::kPCommandValue, value, has);
    return result.IsOK() && !has ? Fail(command, "is a command without a value") : result;
}

NxResult NodeValues::Text(Id node, std::string& text) {
    const Visit visit(*this, node, kValue);
    if (!visit.Result().IsOK()) {
        return visit.Result();
    }
    if (mTable.Kind(node) == NodeKind::kString) {
        Source source;
        if (NxResult result = FindSource(node, source); !result.IsOK()) {
            return result;
        }
        if (source.node != NodeTable::kNone) {
            return Text(source.node, text);
        }
        text = std::string(source.constant);
        return {};
    }
    if (mTable.Kind(node) != NodeKind::kStringReg) {
        return Fail(node, "is not a string");
    }
    Place place;
    if (NxResult result = NodePlaces(*this).Locate(node, place); !result.IsOK()) {
        return result;
    }
    if (place.length > kLongestText) {
        return NxResult(kNxBadDescription, mBus.Port().DeviceName() + " has a string of " +
                                               std::to_string(place.length) +
                                               " bytes; the limit is 1 MiB");
    }
    std::vector<std::byte> bytes(static_cast<std::size_t>(place.length));
    NxResult result = NodePlaces(*this).ReadDevice(node, place, bytes, false);
    if (result.IsOK()) {
        const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
        text.assign(reinterpret_cast<const char*>(bytes.data()),
                    static_cast<std::size_t>(end - bytes.begin()));
    }
    return result;
}
