#include "NodeWriter.h"

#include <array>
#include <bit>
#include <cmath>

#include <internal/NxBase/ReturnIfFailed.h>

#include "NodeFormula.h"
#include "NodePlaces.h"
#include "formula/FormulaArithmetic.h"

NxResult NodeWriter::SetInteger(Id node, std::int64_t value) {
    const NodeValues::Visit visit(mValues, node, NodeValues::Purpose::kSetInteger);
    NX_RETURN_IF_FAILED(visit.Result());
    switch (mValues.Table().Kind(node)) {
        case NodeKind::kInteger:
        case NodeKind::kEnumeration:
        case NodeKind::kCommand:
            return SetBehind(node, value);
        case NodeKind::kBoolean: {
            std::int64_t meant = value != 0 ? 1 : 0;
            const auto property =
                mValues.Find(node, value != 0 ? NodeTag::kOnValue : NodeTag::kOffValue);
            if (property.has_value() && !Formula::ParseInteger(property->text, meant)) {
                return mValues.Fail(node, "has a malformed number in its description");
            }
            return SetBehind(node, meant);
        }
        case NodeKind::kIntReg:
            return SetRegister(node, value);
        case NodeKind::kIntConverter:
            return SetConverted(node, value);
        case NodeKind::kConverter:
            return SetConverted(node, static_cast<double>(value));
        case NodeKind::kFloat:
        case NodeKind::kFloatReg:
            return SetFloat(node, static_cast<double>(value));
        default:
            return mValues.Fail(node, "cannot be set to a number");
    }
}

NxResult NodeWriter::SetFloat(Id node, double value) {
    const NodeKind kind = mValues.Table().Kind(node);
    if (kind == NodeKind::kConverter) {
        return SetConverted(node, value);
    }
    NodeValues::Source source;
    if (kind == NodeKind::kFloat) {
        NX_RETURN_IF_FAILED(mValues.FindSource(node, source));
        if (source.node != NodeTable::kNone) {
            const NodeValues::Visit visit(mValues, node, NodeValues::Purpose::kSetFloat);
            return visit.Result().IsOK() ? SetFloat(source.node, value) : visit.Result();
        }
        if (!source.isLocal) {
            return mValues.Fail(node, "is read-only");
        }
        mValues.Locals()[node] = value;
        return {};
    }
    if (kind == NodeKind::kFloatReg) {
        NodeValues::Place place;
        RegisterFormat format;
        NX_RETURN_IF_FAILED(NodePlaces(mValues).Locate(node, place, format));
        if (place.length != 4 && place.length != 8) {
            return mValues.Fail(node, "is a floating-point number of an unknown size");
        }
        std::array<std::byte, 8> bytes{};
        const auto used = std::span(bytes).first(static_cast<std::size_t>(place.length));
        (void)format.Encode(
            place.length == 4
                ? static_cast<std::int64_t>(std::bit_cast<std::uint32_t>(static_cast<float>(value)))
                : std::bit_cast<std::int64_t>(value),
            used);
        return Store(node, place.address, used);
    }
    std::int64_t integer = 0;
    if (FormulaArithmetic::Truncate(std::round(value), integer) != nullptr) {
        return mValues.Fail(node, "cannot be set to a number this large");
    }
    return SetInteger(node, integer);
}

NxResult NodeWriter::SetBehind(Id node, std::int64_t value) {
    NodeValues::Source source;
    NX_RETURN_IF_FAILED(mValues.FindSource(node, source));
    if (source.node != NodeTable::kNone) {
        NX_RETURN_IF_FAILED(Set(source.node, value));
    } else if (source.isLocal) {
        mValues.Locals()[node] = value;
    } else {
        return mValues.Fail(node, "is read-only");
    }
    return SetCopies(node, value);
}

NxResult NodeWriter::SetCopies(Id node, std::int64_t value) {
    const NodeTable& table = mValues.Table();
    for (std::size_t i = 0; i < table.PropertyCount(node); ++i) {
        const NodeTable::Property property = table.PropertyAt(node, i);
        if (property.tag != NodeTag::kPValueCopy) {
            continue;
        }
        Id copy = NodeTable::kNone;
        NX_RETURN_IF_FAILED(mValues.Follow(property, copy));
        NX_RETURN_IF_FAILED(Set(copy, value));
    }
    return {};
}

template <typename Number>
NxResult NodeWriter::SetConverted(Id node, Number value) {
    if (!mValues.Find(node, NodeTag::kFormulaTo)) {
        return mValues.Fail(node, "is read-only");
    }
    Id input = NodeTable::kNone;
    Number raw = 0;
    NodeFormula<Number> formula(mValues, node);
    formula.Set("FROM", value);
    NX_RETURN_IF_FAILED(formula.Evaluate(NodeTag::kFormulaTo, raw));
    NX_RETURN_IF_FAILED(mValues.FindInput(node, input));
    const NodeValues::Visit visit(mValues, node, NodeValues::Purpose::kSetInput);
    return visit.Result().IsOK() ? Set(input, raw) : visit.Result();
}

NxResult NodeWriter::SetRegister(Id node, std::int64_t value) {
    NodeValues::Place place;
    RegisterFormat format;
    NX_RETURN_IF_FAILED(NodePlaces(mValues).Locate(node, place, format));
    std::array<std::byte, 8> bytes{};
    const auto used = std::span(bytes).first(static_cast<std::size_t>(place.length));
    const auto mode = mValues.Find(node, NodeTag::kAccessMode);
    const bool isReadable = mode.has_value() && mode->text != "WO";
    // The other bits stay as they are; of a register that cannot be read, those just written.
    if (!format.IsWhole(used.size())) {
        if (isReadable) {
            NX_RETURN_IF_FAILED(NodePlaces(mValues).ReadNumber(node, place, used));
        } else if (mValues.View() != nullptr) {
            mValues.View()->Peek(place.address, used);
            NX_RETURN_IF_FAILED(mValues.Bus().Arrange(place.address, used));
        }
    }
    if (!format.Encode(value, used)) {
        return mValues.Fail(node, "is too small for the value " + std::to_string(value));
    }
    return Store(node, place.address, used);
}

NxResult NodeWriter::Store(Id node, std::uint64_t address, std::span<std::byte> bytes) {
    bool isOfDevice = false;
    NX_RETURN_IF_FAILED(NodePlaces(mValues).IsOfDevice(node, isOfDevice));
    if (!isOfDevice) {
        return mValues.Fail(node, "is not a register of the device itself");
    }
    if (--mValues.Budget().writes < 0) {
        return mValues.Fail(node, "is stored in too many registers");
    }
    NX_RETURN_IF_FAILED(mValues.Bus().Arrange(address, bytes));
    if (mValues.View() != nullptr) {
        mValues.View()->Hold(address, bytes);
        return {};
    }
    return mValues.Bus().Write(address, bytes);
}
