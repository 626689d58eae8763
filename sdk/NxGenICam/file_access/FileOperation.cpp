#include "FileOperation.h"

#include <algorithm>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "FileFeatures.h"
#include "node_map/NodePlaces.h"
#include "node_map/NodeWriter.h"

namespace {

bool IsRefusal(const NxResult& result) {
    return result.GetCode() == kNxDeviceError || result.GetCode() == kNxAccessDenied;
}

}  // namespace

FileOperation::FileOperation(NodeMap& nodes, std::string name, Habits& habits)
    : mNodes(nodes),
      mName(std::move(name)),
      mHabits(habits),
      mView(nodes.FollowValues(
          {FileFeatures::kSelector, FileFeatures::kOperationSelector, FileFeatures::kOpenMode})) {}

NxResult FileOperation::Prepare(Id observed) {
    mObserved = observed;
    for (const auto& [feature, node] :
         {std::pair{FileFeatures::kBuffer, &mBuffer}, std::pair{FileFeatures::kStatus, &mStatus},
          std::pair{FileFeatures::kResult, &mResult}}) {
        NX_RETURN_IF_FAILED(mNodes.Require(feature, *node));
    }
    NX_RETURN_IF_FAILED(mNodes.Find(FileFeatures::kExecute, NodeKind::kCommand, mExecute));
    if (mExecute == NodeTable::kNone) {
        return mNodes.NoSuchNode(FileFeatures::kExecute);
    }
    NodeRights rights;
    NodeValues::Source source;
    NX_RETURN_IF_FAILED(mNodes.FindRights(mExecute, NodeRights::Scope::kNow, rights));
    NX_RETURN_IF_FAILED(mNodes.Access().FindSource(mExecute, source));
    if (!rights.MayWrite()) {
        return mNodes.Refuse(FileFeatures::kExecute, "cannot be executed at the moment");
    }
    mTellsItsEnd = rights.MayRead() && source.node != NodeTable::kNone;
    NX_RETURN_IF_FAILED(mNodes.Access(&mView).CommandValue(mExecute, mCommandValue));
    Trace();
    return {};
}

// Only to note which registers the outcome hangs on: without the device most values make no sense.
void FileOperation::Trace() {
    std::int64_t ignored = 0;
    mView.PretendZeros(true);
    if (mTellsItsEnd) {
        mView.MarkAsState(true);
        (void)mNodes.Access(&mView).Integer(mExecute, ignored);
        mView.MarkAsState(false);
    }
    for (const Id node : {mStatus, mResult, mObserved}) {
        if (node != NodeTable::kNone) {
            (void)mNodes.Access(&mView).Integer(node, ignored);
        }
    }
    mView.PretendZeros(false);
}

NxResult FileOperation::LocateBuffer(NodeValues::Place& place) {
    NodeValues values = mNodes.Access(&mView);
    return NodePlaces(values).Locate(mBuffer, place);
}

NxResult FileOperation::Run(std::span<const Setting> settings) {
    if (NxResult result = HoldWrites(settings); !result.IsOK()) {
        (void)mView.TakeWrites();
        return result;
    }
    NX_RETURN_IF_FAILED(Send());
    NX_RETURN_IF_FAILED(Await());
    return CheckStatus();
}

NxResult FileOperation::HoldWrites(std::span<const Setting> settings) {
    for (const Setting& setting : settings) {
        NX_RETURN_IF_FAILED(mNodes.SetInteger(setting.node, setting.value, &mView));
    }
    // After the settings: what starts the operation may be computed from them.
    NX_RETURN_IF_FAILED(mNodes.Access(&mView).CommandValue(mExecute, mCommandValue));
    const std::size_t settingsHeld = mView.HeldWrites();
    NX_RETURN_IF_FAILED(mNodes.SetInteger(mExecute, mCommandValue, &mView));
    if (mView.HeldWrites() == settingsHeld) {
        return mNodes.Refuse(FileFeatures::kExecute, "is not backed by a register",
                             kNxBadDescription);
    }
    // As the register will show it until the end: not every register can show every value.
    return mTellsItsEnd ? mNodes.Access(&mView).Integer(mExecute, mShownValue) : NxResult();
}

bool FileOperation::TakesWords(const RegisterView::Write& write) const {
    const RegisterBus& bus = mNodes.Bus();
    return bus.WritesWords() && bus.TakesWords(write.address, write.bytes.size()) &&
           (write.bytes.size() == 4 || !mHabits.refusesHalves);
}

NxResult FileOperation::SendAll(std::span<const RegisterView::Write> writes) {
    std::vector<GenPort::Register> words;
    while (!writes.empty()) {
        words.clear();
        std::size_t count = 0;
        for (; count < writes.size() && TakesWords(writes[count]); ++count) {
            const RegisterView::Write& write = writes[count];
            for (std::size_t i = 0; i < write.bytes.size(); i += 4) {
                words.push_back({.address = write.address + i, .isSecondHalf = i > 0});
                std::copy_n(write.bytes.begin() + static_cast<std::ptrdiff_t>(i), 4,
                            words.back().bytes.begin());
            }
        }
        // One alone is what opens or erases: it is given its time as the write of one register.
        const bool isTogether = count > 1;
        count = std::max<std::size_t>(count, 1);
        NX_RETURN_IF_FAILED(isTogether
                                ? mNodes.Bus().WriteWords(words)
                                : mNodes.Bus().Write(writes.front().address, writes.front().bytes));
        writes = writes.subspan(isTogether ? count : 1);
    }
    return {};
}

NxResult FileOperation::Send() {
    RegisterBus& bus = mNodes.Bus();
    const std::vector<RegisterView::Write> writes = mView.TakeWrites();
    bool isLittle = false;
    NX_RETURN_IF_FAILED(bus.IsLittleEndian(isLittle));
    if (isLittle || mView.HoldsLittleEndian()) {
        bus.ExpectLittleEndianWords();
    }
    NxResult result = SendAll(writes);
    const bool hasHalves = std::ranges::any_of(writes, [this](const RegisterView::Write& write) {
        return write.bytes.size() == 8 && TakesWords(write);
    });
    if (IsRefusal(result) && hasHalves) {
        // What was refused has not executed anything: the command's register comes last.
        mHabits.refusesHalves = true;
        result = SendAll(writes);
    }
    mView.Forget();
    // The last one executes the operation; asking for it might be taken for the end of it.
    for (std::size_t i = 0; i + 1 < writes.size() && result.IsOK() && !bus.KnowsWordOrder(); ++i) {
        if (writes[i].bytes.size() == 4) {
            bus.LearnWordOrder(writes[i].address);
        }
    }
    return result;
}

NxResult FileOperation::Fetch(bool onlyState) {
    if (!mFetchesTogether) {
        return {};
    }
    NxResult result = mView.Fetch(mNodes.Bus(), onlyState, !mHabits.refusesHalves);
    if (IsRefusal(result) && !mHabits.refusesHalves && mView.HasHalves()) {
        mHabits.refusesHalves = true;
        result = mView.Fetch(mNodes.Bus(), onlyState, false);
    }
    if (IsRefusal(result)) {
        // One of them may not be read now; each is asked for when its turn comes.
        mFetchesTogether = false;
        return {};
    }
    return result;
}

NxResult FileOperation::IsDone(bool& isDone) {
    std::int64_t value = 0;
    mView.MarkAsState(true);
    NxResult result = mNodes.Access(&mView).Integer(mExecute, value);
    mView.MarkAsState(false);
    isDone = value != mShownValue;
    return result;
}

NxResult FileOperation::FindWhetherValueIsKept() {
    if (!mTellsItsEnd || mHabits.keepsValue) {
        return {};
    }
    mShownValue = mCommandValue;
    // What it still holds may also be an operation under way, of a program that died.
    OperationPoll poll(mName, mNodes.Port().DeviceName());
    while (true) {
        bool isDone = false;
        mView.Forget();
        if (NxResult result = IsDone(isDone); !result.IsOK() || isDone) {
            return result;
        }
        if (!poll.Pause().IsOK()) {
            mHabits.keepsValue = true;
            return {};
        }
    }
}

NxResult FileOperation::Await() {
    if (!FetchesStateToo()) {
        return AwaitEnd(true);
    }
    NxResult result = Fetch(false);
    return result.IsOK() ? AwaitEnd(!FetchesStateToo()) : result;
}

bool FileOperation::FetchesStateToo() const {
    return !mHabits.refusesHalves || !mView.HasHalvesOfState();
}

NxResult FileOperation::AwaitEnd(bool outcomeIsOlder) {
    if (!mTellsItsEnd) {
        return outcomeIsOlder ? Fetch(false) : NxResult();
    }
    bool isDone = false;
    const int misses = mView.Misses();
    NxResult result = IsDone(isDone);
    // What was read for that alone is newer than the outcome that was fetched before.
    outcomeIsOlder = outcomeIsOlder || (mKnowsLayout && mView.Misses() != misses);
    mKnowsLayout = true;
    if (mHabits.keepsValue) {
        // One that changes after all was only slow when it seemed to be kept.
        mHabits.keepsValue = !isDone;
        isDone = true;
    }
    OperationPoll poll(mName, mNodes.Port().DeviceName());
    while (result.IsOK() && !isDone) {
        outcomeIsOlder = true;
        if (const NxResult timeout = poll.Pause(); !timeout.IsOK()) {
            // It may be one that never shows the end; then its status does.
            std::string status;
            mHabits.keepsValue = ReadStatus(status).IsOK() && status == FileFeatures::kSuccess;
            return mHabits.keepsValue ? NxResult() : timeout;
        }
        mView.Forget();
        result = FetchesStateToo() ? Fetch(true) : NxResult();
        if (result.IsOK()) {
            result = IsDone(isDone);
        }
    }
    if (!result.IsOK() || !outcomeIsOlder) {
        return result;
    }
    mView.Forget();
    return Fetch(false);
}

NxResult FileOperation::ReadStatus(std::string& status) {
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(mNodes.Access(&mView).Integer(mStatus, value));
    if (mNodes.Table().Kind(mStatus) != NodeKind::kEnumeration) {
        status = value == 0 ? FileFeatures::kSuccess : std::to_string(value);
        return {};
    }
    const Id entry = mNodes.FindEntryByValue(mStatus, value);
    status = entry != NodeTable::kNone ? mNodes.SymbolicName(entry) : std::to_string(value);
    return {};
}

NxResult FileOperation::CheckStatus() {
    std::string status;
    NX_RETURN_IF_FAILED(ReadStatus(status));
    return status == FileFeatures::kSuccess
               ? NxResult()
               : NxResult(kNxFileOperation, mNodes.Port().DeviceName() + ": " + mName +
                                                " failed with the file operation status \"" +
                                                PrintableText(status) + "\"");
}

NxResult FileOperation::ReadResultAnew(std::int64_t& value) {
    mView.Forget();
    return ReadResult(value);
}

NxResult FileOperation::ReadResult(std::int64_t& value) {
    return mNodes.Access(&mView).Integer(mResult, value);
}

NxResult FileOperation::ReadObserved(std::int64_t& value) {
    return mNodes.Access(&mView).Integer(mObserved, value);
}
