#include "NodeValues.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>

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
        mResult = values.Fail(node, "depends on itself", kNxBadDescription);
    } else if (values.mBudget.depth < 0 || !values.mBudget.TakeStep()) {
        mResult = values.Fail(node, "depends on too many other nodes", kNxBadDescription);
    }
}

NodeValues::Visit::~Visit() {
    mValues.mBudget.depth += EvaluationBudget::kDepthOfNode;
    mValues.mPath.pop_back();
}

NxResult NodeValues::Fail(Id node, const std::string& reason, unsigned int code) const {
    std::string name(mTable.Name(node));
    if (name.empty() && mTable.Parent(node) != NodeTable::kNone) {
        name = std::string(mTable.Name(mTable.Parent(node)));
    }
    return NxResult(code, "The GenICam feature " + PrintableText(name) + " of " +
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

NxResult NodeValues::IntegerBehind(const NodeTable::Property& reference, std::int64_t& value) {
    Id node = NodeTable::kNone;
    NX_RETURN_IF_FAILED(Follow(reference, node));
    return Integer(node, value);
}

NxResult NodeValues::FindInput(Id converter, Id& input) {
    Source source;
    NX_RETURN_IF_FAILED(FindSource(converter, source));
    input = source.node;
    return input != NodeTable::kNone ? NxResult()
                                     : Fail(converter, "is a converter without an input node");
}

NxResult NodeValues::IndexedSource(Id node, const NodeTable::Property& index, Source& source) {
    std::int64_t wanted = 0;
    NX_RETURN_IF_FAILED(IntegerBehind(index, wanted));
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
        NX_RETURN_IF_FAILED(Float(node, number));
        const char* failure = FormulaArithmetic::Truncate(number, value);
        return failure == nullptr ? NxResult() : Fail(node, "has a value that is too large");
    }
    const Visit visit(*this, node, kValue);
    NX_RETURN_IF_FAILED(visit.Result());
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
    NX_RETURN_IF_FAILED(FindSource(node, source));
    std::int64_t number = 0;
    if (source.node != NodeTable::kNone) {
        NX_RETURN_IF_FAILED(Integer(source.node, number));
    } else if (const auto* const local = Local<std::int64_t>(node, source)) {
        number = *local;
    } else if (mTable.Kind(node) == NodeKind::kBoolean &&
               (source.constant == "true" || source.constant == "false")) {
        value = source.constant == "true" ? 1 : 0;
        return {};
    } else {
        NX_RETURN_IF_FAILED(Constant(node, source.constant, number));
    }
    if (mTable.Kind(node) == NodeKind::kBoolean) {
        std::int64_t on = 1;
        const auto property = Find(node, NodeTag::kOnValue);
        if (property.has_value()) {
            NX_RETURN_IF_FAILED(Constant(node, property->text, on));
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
        NX_RETURN_IF_FAILED(Integer(node, number));
        value = static_cast<double>(number);
        return {};
    }
    const Visit visit(*this, node, kValue);
    NX_RETURN_IF_FAILED(visit.Result());
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
    NX_RETURN_IF_FAILED(FindSource(node, source));
    if (source.node != NodeTable::kNone) {
        return Float(source.node, value);
    }
    if (const auto* const local = Local<double>(node, source)) {
        value = *local;
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
    Id input = NodeTable::kNone;
    Number raw = 0;
    NX_RETURN_IF_FAILED(FindInput(node, input));
    NX_RETURN_IF_FAILED(ValueOf(input, raw));
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
    NxResult result = Formula::Evaluate(formula, lookup, mBudget, value);
    return result.IsOK() ? result : FormulaFailure(node, std::move(result));
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
const Number* NodeValues::Local(Id node, const Source& source) const {
    const auto local = mLocals.find(node);
    return source.isLocal && local != mLocals.end() ? std::get_if<Number>(&local->second) : nullptr;
}

template <typename Number>
NxResult NodeValues::VariableValue(const NodeTable::Property& variable, Number& value) {
    Id target = NodeTable::kNone;
    NX_RETURN_IF_FAILED(Follow(variable, target));
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
        for (const Id entry : mTable.Entries(target)) {
            if (has || !mBudget.TakeStep()) {
                break;
            }
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
        return IntegerBehind(*linked, value);
    }
    if (const auto text = Find(node, constant)) {
        return Constant(node, text->text, value);
    }
    has = false;
    return {};
}

NxResult NodeValues::Maximum(Id node, std::int64_t& value) {
    const Visit visit(*this, node, kBound);
    NX_RETURN_IF_FAILED(visit.Result());
    bool has = false;
    NX_RETURN_IF_FAILED(Bound(node, NodeTag::kMax, NodeTag::kPMax, value, has));
    if (has) {
        return {};
    }
    if (mTable.Kind(node) == NodeKind::kIntReg) {
        Place place;
        RegisterFormat format;
        NodePlaces places(*this);
        NX_RETURN_IF_FAILED(places.FindLength(node, place.length));
        NX_RETURN_IF_FAILED(places.FindFormat(node, place, format));
        value = format.Largest(static_cast<std::size_t>(place.length));
        return {};
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
    NX_RETURN_IF_FAILED(Bound(node, NodeTag::kMin, NodeTag::kPMin, value, has));
    value = has ? value : 0;
    return {};
}

NxResult NodeValues::Increment(Id node, std::int64_t& value) {
    bool has = false;
    NX_RETURN_IF_FAILED(Bound(node, NodeTag::kInc, NodeTag::kPInc, value, has));
    value = has ? value : 1;
    return {};
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
    NX_RETURN_IF_FAILED(visit.Result());
    if (mTable.Kind(node) == NodeKind::kString) {
        Source source;
        NX_RETURN_IF_FAILED(FindSource(node, source));
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
    NX_RETURN_IF_FAILED(NodePlaces(*this).Locate(node, place));
    if (place.length > kLongestText) {
        return NxResult(kNxBadDescription, mBus.Port().DeviceName() + " has a string of " +
                                               std::to_string(place.length) +
                                               " bytes; the limit is 1 MiB");
    }
    std::string read(static_cast<std::size_t>(place.length), '\0');
    NX_RETURN_IF_FAILED(
        NodePlaces(*this).ReadDevice(node, place, std::as_writable_bytes(std::span(read)), false));
    text = read.substr(0, read.find('\0'));
    return {};
}
