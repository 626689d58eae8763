#include "NodeValues.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "NodeFormula.h"
#include "NodePlaces.h"
#include "formula/FormulaArithmetic.h"

namespace {

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

NodeValues::Visit::Visit(NodeValues& values, Id node, Purpose purpose, std::size_t part)
    : mValues(values) {
    const Visited visited{.node = node, .purpose = purpose, .part = part};
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
            if (mTable.TagAt(owner, i) == tag) {
                mBudget.TakeStepsForProperties(i);
                return mTable.PropertyAt(owner, i);
            }
        }
        mBudget.TakeStepsForProperties(count);
    }
    return std::nullopt;
}

std::string_view NodeValues::TextOf(Id node, NodeTag tag) {
    const auto found = Find(node, tag);
    return found.has_value() ? found->text : std::string_view();
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
    mBudget.TakeStepsForProperties(mTable.PropertyCount(node));
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
    const Visit visit(*this, node, Purpose::kValue);
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
            return NodeFormula<std::int64_t>(*this, node).Evaluate(NodeTag::kFormula, value);
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
    const Visit visit(*this, node, Purpose::kValue);
    NX_RETURN_IF_FAILED(visit.Result());
    if (kind == NodeKind::kFloatReg) {
        return NodePlaces(*this).Float(node, value);
    }
    if (kind == NodeKind::kConverter) {
        return Converted(node, value);
    }
    if (kind == NodeKind::kSwissKnife) {
        return NodeFormula<double>(*this, node).Evaluate(NodeTag::kFormula, value);
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
    if (!Find(node, NodeTag::kFormulaFrom)) {
        return Fail(node, "has no formula");
    }
    Id input = NodeTable::kNone;
    Number raw = 0;
    NX_RETURN_IF_FAILED(FindInput(node, input));
    NX_RETURN_IF_FAILED(ValueOf(input, raw));
    NodeFormula<Number> formula(*this, node);
    formula.Set("TO", raw);
    return formula.Evaluate(NodeTag::kFormulaFrom, value);
}

template <typename Number>
const Number* NodeValues::Local(Id node, const Source& source) const {
    const auto local = mLocals.find(node);
    return source.isLocal && local != mLocals.end() ? std::get_if<Number>(&local->second) : nullptr;
}

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
    const Visit visit(*this, node, Purpose::kBound);
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
    const Visit visit(*this, node, Purpose::kValue);
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
