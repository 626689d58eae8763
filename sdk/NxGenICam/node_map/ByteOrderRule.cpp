#include "ByteOrderRule.h"

#include <algorithm>
#include <array>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "NodePlaces.h"
#include "NodeRights.h"
#include "formula/Formula.h"

namespace {

using Id = NodeTable::Id;

// Of the bootstrap registers, which are always big-endian, nothing can be learnt.
constexpr std::uint64_t kEndOfBootstrap = 0xA000;
constexpr int kMostQuestions = 40;
constexpr int kEnoughAnswers = 3;

bool IsOfDeviceItself(const NxResult& result) {
    return result.IsOK() || result.GetCode() == kNxDeviceError ||
           result.GetCode() == kNxAccessDenied || result.GetCode() == kNxNodeAccess ||
           result.GetCode() == kNxBadDescription;
}

class Questions {
  public:
    Questions(const NodeTable& table, RegisterBus& bus, NodeValues::LocalValues& locals)
        : mTable(table), mBus(bus), mValues(table, bus, locals, nullptr) {}

    NxResult Ask(Id node);
    /// How many of them the device was asked.
    [[nodiscard]] int Count() const { return mCount; }
    [[nodiscard]] int AsDescribed() const { return mAsDescribed; }
    [[nodiscard]] int Reversed() const { return mReversed; }

  private:
    /// The register that the feature is a name for; kNone when it is anything more.
    Id FindRegister(Id feature);
    bool MakesSense(Id feature, std::int64_t value);

    /// Whether a register command gives the bytes as they lie in memory.
    NxResult CompareWithMemory(std::uint64_t address, std::span<const std::byte> turned);

    const NodeTable& mTable;
    RegisterBus& mBus;
    NodeValues mValues;  ///< one for all questions, so that its bounds hold for them all
    int mCount = 0;
    int mAsDescribed = 0;
    int mReversed = 0;
};

Id Questions::FindRegister(Id feature) {
    NodeValues::Source source;
    return mValues.FindSource(feature, source).IsOK() && source.node != NodeTable::kNone &&
                   mTable.Kind(source.node) == NodeKind::kIntReg
               ? source.node
               : NodeTable::kNone;
}

bool Questions::MakesSense(Id feature, std::int64_t value) {
    if (mTable.Kind(feature) == NodeKind::kEnumeration) {
        for (Id entry = feature + 1; entry <= mTable.LastEntry(feature); ++entry) {
            std::int64_t known = 0;
            if (mValues.Integer(entry, known).IsOK() && known == value) {
                return true;
            }
        }
        return false;
    }
    std::int64_t least = 0;
    std::int64_t most = 0;
    // Without bounds any value makes sense.
    return !Formula::ParseInteger(mValues.TextOf(feature, NodeTag::kMin), least) ||
           !Formula::ParseInteger(mValues.TextOf(feature, NodeTag::kMax), most) ||
           (value >= least && value <= most);
}

NxResult Questions::Ask(Id node) {
    const Id found = FindRegister(node);
    NodeValues::Place place;
    RegisterFormat format;
    NodeRights rights;
    if (found == NodeTable::kNone || !NodePlaces(mValues).Locate(found, place, format).IsOK() ||
        place.length != 4 || static_cast<std::uint32_t>(place.address) < kEndOfBootstrap ||
        format.isField ||
        !NodeRights::Find(mValues, node, NodeRights::Scope::kNow, rights).IsOK() ||
        !rights.MayRead()) {
        return {};
    }
    ++mCount;
    std::array<std::byte, 4> bytes{};
    if (NxResult result = NodePlaces(mValues).ReadNumber(found, place, bytes); !result.IsOK()) {
        return IsOfDeviceItself(result) ? NxResult() : result;
    }
    std::array<std::byte, 4> turned = bytes;
    std::reverse(turned.begin(), turned.end());
    const bool asDescribed = MakesSense(node, format.Decode(bytes));
    const bool reversed = MakesSense(node, format.Decode(turned));
    mAsDescribed += asDescribed && !reversed ? 1 : 0;
    mReversed += reversed && !asDescribed ? 1 : 0;
    return mBus.UsesRegisterCommands() && turned != bytes ? CompareWithMemory(place.address, turned)
                                                          : NxResult();
}

// The register commands of a little-endian device are taken to swap bytes. One whose commands do
// not has nothing to be turned round.
NxResult Questions::CompareWithMemory(std::uint64_t address, std::span<const std::byte> turned) {
    std::array<std::byte, 4> memory{};
    if (NxResult result = mBus.Port().ReadMemory(address, memory); !result.IsOK()) {
        return IsOfDeviceItself(result) ? NxResult() : result;
    }
    const bool isSame = std::equal(turned.begin(), turned.end(), memory.begin());
    const bool isSwapped = std::equal(turned.rbegin(), turned.rend(), memory.begin());
    mReversed += isSame ? 1 : 0;
    mAsDescribed += isSwapped ? 1 : 0;
    return {};
}

}  // namespace

NxResult ByteOrderRule::Settle(const NodeTable& table, RegisterBus& bus,
                               NodeValues::LocalValues& locals) {
    bool isLittle = false;
    if (NxResult result = bus.IsLittleEndian(isLittle); !result.IsOK() || !isLittle) {
        // A device without the register is as its description says.
        return IsOfDeviceItself(result) ? NxResult() : result;
    }
    Questions questions(table, bus, locals);
    for (const NodeKind kind : {NodeKind::kEnumeration, NodeKind::kInteger}) {
        for (Id node = 0; node < table.Count() && questions.Count() < kMostQuestions &&
                          questions.AsDescribed() + questions.Reversed() < kEnoughAnswers;
             ++node) {
            if (table.Kind(node) != kind) {
                continue;
            }
            NX_RETURN_IF_FAILED(questions.Ask(node));
        }
    }
    if (questions.Reversed() > 0 && questions.AsDescribed() == 0) {
        bus.Reverse();
    }
    return {};
}
