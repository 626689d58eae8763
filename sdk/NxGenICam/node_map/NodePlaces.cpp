#include "NodePlaces.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "formula/Formula.h"

namespace {

constexpr std::uint64_t kLongestRegister = std::uint64_t{16} << 20U;
constexpr std::size_t kLongestNumber = 8;

}  // namespace

NxResult NodePlaces::Locate(Id registerNode, Place& place) {
    const NodeValues::InPlace inPlace(mValues);
    Place found;
    NX_RETURN_IF_FAILED(FindLength(registerNode, found.length));
    // An entry lies where its structure does.
    for (const Id owner : {registerNode, mValues.Table().Parent(registerNode)}) {
        const std::size_t count =
            owner != NodeTable::kNone ? mValues.Table().PropertyCount(owner) : 0;
        for (std::size_t i = 0; i < count; ++i) {
            const NodeTable::Property part = mValues.Table().PropertyAt(owner, i);
            std::int64_t number = 0;
            if (part.tag == NodeTag::kAddress) {
                NX_RETURN_IF_FAILED(mValues.Constant(registerNode, part.text, number));
            } else if (part.tag == NodeTag::kPAddress) {
                NX_RETURN_IF_FAILED(mValues.IntegerBehind(part, number));
            } else if (part.tag == NodeTag::kPIndex || part.tag == NodeTag::kPIndexWithStep) {
                NX_RETURN_IF_FAILED(AddIndex(registerNode, part, found));
            }
            // Addresses wrap: some count down from the end of a wider space.
            found.address += static_cast<std::uint64_t>(number);
        }
    }
    place = found;
    return {};
}

NxResult NodePlaces::Locate(Id registerNode, Place& place, RegisterFormat& format) {
    NX_RETURN_IF_FAILED(Locate(registerNode, place));
    return FindFormat(registerNode, place, format);
}

NxResult NodePlaces::AddIndex(Id owner, const NodeTable::Property& index, Place& place) {
    std::int64_t number = 0;
    NX_RETURN_IF_FAILED(mValues.IntegerBehind(index, number));
    auto step = static_cast<std::int64_t>(place.length);
    if (index.tag == NodeTag::kPIndexWithStep) {
        const Id stepNode = mValues.Table().Find(index.attribute);
        if (stepNode == NodeTable::kNone) {
            return mValues.Fail(owner, "has an index whose step node is undefined");
        }
        NX_RETURN_IF_FAILED(mValues.Integer(stepNode, step));
    } else if (!index.attribute.empty()) {
        NX_RETURN_IF_FAILED(mValues.Constant(owner, index.attribute, step));
    }
    place.address += static_cast<std::uint64_t>(number) * static_cast<std::uint64_t>(step);
    return {};
}

NxResult NodePlaces::FindLength(Id node, std::uint64_t& length) {
    const NodeValues::InPlace inPlace(mValues);
    bool has = false;
    std::int64_t number = 0;
    NX_RETURN_IF_FAILED(mValues.Bound(node, NodeTag::kLength, NodeTag::kPLength, number, has));
    if (!has) {
        return mValues.Fail(node, "is a register without a length");
    }
    if (number < 0 || static_cast<std::uint64_t>(number) > kLongestRegister) {
        return NxResult(kNxBadDescription, mValues.Bus().Port().DeviceName() +
                                               " has a register of " + std::to_string(number) +
                                               " bytes; the limit is 16 MiB");
    }
    length = static_cast<std::uint64_t>(number);
    return {};
}

NxResult NodePlaces::FindFormat(Id registerNode, const Place& place, RegisterFormat& format) {
    format.isBigEndian = mValues.TextOf(registerNode, NodeTag::kEndianess) == "BigEndian";
    format.isSigned = mValues.TextOf(registerNode, NodeTag::kSign) == "Signed";
    const auto bit = mValues.Find(registerNode, NodeTag::kBit);
    const auto lsb = bit.has_value() ? bit : mValues.Find(registerNode, NodeTag::kLsb);
    const auto msb = bit.has_value() ? bit : mValues.Find(registerNode, NodeTag::kMsb);
    std::int64_t first = 0;
    std::int64_t last = 0;
    if (lsb.has_value() || msb.has_value()) {
        format.isField = true;
        const std::string_view low = lsb.has_value() ? lsb->text : std::string_view();
        const std::string_view high = msb.has_value() ? msb->text : std::string_view();
        if (!Formula::ParseInteger(low, first) || !Formula::ParseInteger(high, last) || first < 0 ||
            last < 0 || first > 63 || last > 63) {
            return mValues.Fail(registerNode, "is a bit field outside its register");
        }
        format.lsb = static_cast<unsigned int>(first);
        format.msb = static_cast<unsigned int>(last);
    }
    if (!format.Fits(static_cast<std::size_t>(place.length))) {
        return mValues.Fail(
            registerNode,
            "cannot be a number: its register has " + std::to_string(place.length) + " bytes",
            kNxBadDescription);
    }
    if (mValues.View() != nullptr && (!format.isBigEndian || mValues.Bus().Reverses())) {
        mValues.View()->NoteLittleEndian();
    }
    return {};
}

NxResult NodePlaces::Integer(Id node, std::int64_t& value) {
    Place place;
    RegisterFormat format;
    NX_RETURN_IF_FAILED(Locate(node, place, format));
    std::array<std::byte, kLongestNumber> bytes{};
    const auto used = std::span(bytes).first(static_cast<std::size_t>(place.length));
    NX_RETURN_IF_FAILED(ReadNumber(node, place, used));
    value = format.Decode(used);
    return {};
}

NxResult NodePlaces::Float(Id node, double& value) {
    Place place;
    NX_RETURN_IF_FAILED(Locate(node, place));
    if (place.length != 4 && place.length != 8) {
        return mValues.Fail(node,
                            "cannot be a floating-point number: its register has " +
                                std::to_string(place.length) + " bytes",
                            kNxBadDescription);
    }
    RegisterFormat format;
    NX_RETURN_IF_FAILED(FindFormat(node, place, format));
    std::array<std::byte, kLongestNumber> bytes{};
    const auto used = std::span(bytes).first(static_cast<std::size_t>(place.length));
    NX_RETURN_IF_FAILED(ReadNumber(node, place, used));
    const auto bits = static_cast<std::uint64_t>(format.Decode(used));
    value = place.length == 4
                ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)))
                : std::bit_cast<double>(bits);
    return {};
}

NxResult NodePlaces::ReadNumber(Id registerNode, const Place& place, std::span<std::byte> bytes) {
    const bool isWhole = mValues.Bus().TakesWords(place.address, bytes.size());
    NxResult result;
    if (mValues.View() == nullptr || !(isWhole || mValues.Bus().TakesPartsOfWords())) {
        result = ReadDevice(registerNode, place, bytes, true);
    } else if (const bool isSteady = IsSteady(registerNode);
               !mValues.View()->Read(place.address, bytes, isSteady)) {
        mValues.View()->CountMiss();
        // Whole words: a part of one would never be known.
        const std::uint64_t first = place.address - place.address % 4;
        const std::uint64_t count = (place.address + bytes.size() - first + 3) / 4 * 4;
        std::vector<std::byte> words(static_cast<std::size_t>(count));
        result = ReadDevice(registerNode, {.address = first, .length = count}, words, true);
        if (result.IsOK()) {
            mValues.View()->Note(first, words);
            std::copy_n(words.begin() + static_cast<std::ptrdiff_t>(place.address - first),
                        bytes.size(), bytes.begin());
        }
    }
    return result.IsOK() ? mValues.Bus().Arrange(place.address, bytes) : result;
}

NxResult NodePlaces::ReadDevice(Id node, const Place& place, std::span<std::byte> bytes,
                                bool isNumber) {
    if (mValues.TextOf(node, NodeTag::kAccessMode) == "WO") {
        return mValues.Fail(node, "is write-only");
    }
    bool isOfDevice = false;
    NX_RETURN_IF_FAILED(IsOfDevice(node, isOfDevice));
    if (!isOfDevice) {
        return mValues.Fail(node, "is not a register of the device itself");
    }
    if (--mValues.Budget().reads < 0) {
        return mValues.Fail(node, "depends on too many registers", kNxBadDescription);
    }
    return isNumber ? mValues.Bus().Read(place.address, bytes)
                    : mValues.Bus().Port().ReadMemory(place.address, bytes);
}

NxResult NodePlaces::IsOfDevice(Id registerNode, bool& isOfDevice) {
    const auto link = mValues.Find(registerNode, NodeTag::kPPort);
    Id port = registerNode;  // which is none
    if (link.has_value()) {
        NX_RETURN_IF_FAILED(mValues.Follow(*link, port));
    }
    // Ports with such IDs are of data that comes with images and events.
    isOfDevice = mValues.Table().Kind(port) == NodeKind::kPort &&
                 !mValues.Find(port, NodeTag::kChunkId) &&
                 !mValues.Find(port, NodeTag::kPChunkId) && !mValues.Find(port, NodeTag::kEventId);
    return {};
}

// What decides an address is kept while an operation is repeated, if the description lets it be
// cached at all.
bool NodePlaces::IsSteady(Id registerNode) {
    if (mValues.View()->IsSteady(registerNode)) {
        return true;
    }
    return mValues.IsInPlace() && mValues.TextOf(registerNode, NodeTag::kCachable) != "NoCache" &&
           !mValues.Find(registerNode, NodeTag::kPollingTime) &&
           !mValues.Find(registerNode, NodeTag::kPInvalidator);
}
