#include "RegisterChunkAccess.h"

#include <arv.h>

#include "FileNodes.h"
#include "NodeLinks.h"
#include "OperationWait.h"

namespace {

std::vector<ArvGcNode*> FindSteadyNodes(NodeMap& nodes) {
    std::vector<ArvGcNode*> steady;
    for (const char* name :
         {FileNodes::kSelector, FileNodes::kOperationSelector, FileNodes::kOpenMode}) {
        ArvGcFeatureNode* selector = nullptr;
        if (nodes.Find(name, selector).IsOK() && selector != nullptr) {
            steady.push_back(NodeLinks::FollowValue(ARV_GC_NODE(selector)));
        }
    }
    return steady;
}

}  // namespace

std::unique_ptr<RegisterChunkAccess> RegisterChunkAccess::Resolve(NodeMap& nodes,
                                                                  std::size_t chunkSize) {
    std::unique_ptr<RegisterChunkAccess> access(
        new RegisterChunkAccess(nodes.Device().Port(), chunkSize));
    const std::vector<ArvGcNode*> steady = FindSteadyNodes(nodes);
    const auto resolve = [&nodes, &steady](const char* feature, PlainRegister& plain) {
        return PlainRegister::Resolve(nodes, feature, steady, plain);
    };
    ArvGcFeatureNode* buffer = nullptr;
    FileNodes::CommandState command;
    const bool isPlain =
        nodes.Find(FileNodes::kBuffer, buffer).IsOK() && buffer != nullptr &&
        ARV_IS_GC_REGISTER(buffer) && PlainRegister::IsSteady(nodes, ARV_GC_NODE(buffer), steady) &&
        nodes.ReadRegisterAddress(FileNodes::kBuffer, access->mBuffer).IsOK() &&
        access->mBuffer % 4 == 0 && resolve(FileNodes::kOffset, access->mOffset) &&
        resolve(FileNodes::kLength, access->mLength) &&
        resolve(FileNodes::kExecute, access->mExecute) &&
        resolve(FileNodes::kStatus, access->mStatus) &&
        resolve(FileNodes::kResult, access->mResult) &&
        FileNodes::FindCommandState(nodes, command).IsOK() && access->ResolveStatus(nodes);
    access->mCommandValue = command.commandValue;
    access->mExecuteIsReadable = command.isReadable;
    return isPlain ? std::move(access) : nullptr;
}

bool RegisterChunkAccess::ResolveStatus(NodeMap& nodes) {
    ArvGcEnumeration* status = nullptr;
    if (!nodes.FindEnumeration(FileNodes::kStatus, status).IsOK() || status == nullptr) {
        return false;
    }
    for (const GSList* item = arv_gc_enumeration_get_entries(status); item != nullptr;
         item = item->next) {
        GError* error = nullptr;
        const std::int64_t value =
            arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(item->data), &error);
        if (!nodes.Check(FileNodes::kStatus, error).IsOK()) {
            return false;
        }
        mStatusNames[value] = NodeMap::SymbolicName(status, ARV_GC_FEATURE_NODE(item->data));
    }
    return true;
}

NxResult RegisterChunkAccess::Write(std::uint64_t offset, std::span<const std::byte> chunk,
                                    std::uint64_t& taken) {
    if (NxResult result = FileNodes::WriteBuffer(mPort, mBuffer, chunk, mChunkSize);
        !result.IsOK()) {
        return result;
    }
    const bool lengthWasKnown = mLengthInDevice.has_value();
    std::uint64_t moved = 0;
    NxResult result = Run("Write", offset, chunk.size(), moved);
    if (result.IsOK() && moved == 0 && lengthWasKnown) {
        // The device may have forgotten the length that was not written again.
        mLengthInDevice.reset();
        result = Run("Write", offset, chunk.size(), moved);
    }
    if (result.IsOK()) {
        taken = moved;
    }
    return result;
}

NxResult RegisterChunkAccess::Read(std::uint64_t offset, std::span<std::byte> chunk,
                                   std::uint64_t& given) {
    // Written anew each time: 0 bytes mean the end of the file here, not a forgotten length.
    mLengthInDevice.reset();
    std::uint64_t available = 0;
    if (NxResult result = Run("Read", offset, chunk.size(), available); !result.IsOK()) {
        return result;
    }
    if (available > 0) {
        if (NxResult result = mPort.ReadMemory(mBuffer, chunk.first(available)); !result.IsOK()) {
            return result;
        }
    }
    given = available;
    return {};
}

NxResult RegisterChunkAccess::Run(const char* operation, std::uint64_t offset, std::size_t length,
                                  std::uint64_t& moved) {
    if (NxResult result = Start(offset, length); !result.IsOK()) {
        return result;
    }
    Outcome outcome;
    if (NxResult result = Finish(operation, outcome); !result.IsOK()) {
        return result;
    }
    const auto name = mStatusNames.find(outcome.status);
    if (name == mStatusNames.end() || name->second != FileNodes::kSuccess) {
        return FileNodes::Refusal(
            mPort, operation,
            name != mStatusNames.end() ? name->second : std::to_string(outcome.status));
    }
    const auto reported = static_cast<std::uint64_t>(outcome.result);
    if (reported > length) {
        return FileNodes::Impossible(mPort, operation, reported, length);
    }
    moved = reported;
    return {};
}

// The offset is always written: a command that was repeated on the way must not advance the file.
NxResult RegisterChunkAccess::Start(std::uint64_t offset, std::size_t length) {
    mRegisters.clear();
    mOffset.Append(static_cast<std::int64_t>(offset), mRegisters);
    // Costs nothing beside the others in one command, else a command of its own.
    if (mPort.CombinesRegisters() || mLengthInDevice != length) {
        mLength.Append(static_cast<std::int64_t>(length), mRegisters);
    }
    mExecute.Append(mCommandValue, mRegisters);
    NxResult result = mPort.WriteRegisters(mRegisters);
    if (result.IsOK()) {
        mLengthInDevice = length;
    } else {
        mLengthInDevice.reset();
    }
    return result;
}

NxResult RegisterChunkAccess::Finish(const char* operation, Outcome& outcome) {
    if (NxResult result = ReadOutcome(outcome); !result.IsOK()) {
        return result;
    }
    if (!mExecuteIsReadable || outcome.execute != mCommandValue) {
        return {};
    }
    if (NxResult result = WaitUntilDone(operation); !result.IsOK()) {
        return result;
    }
    return ReadOutcome(outcome);
}

NxResult RegisterChunkAccess::WaitUntilDone(const char* operation) {
    OperationWait wait(operation, mPort.DeviceName());
    while (true) {
        if (NxResult result = wait.Pause(); !result.IsOK()) {
            return result;
        }
        mRegisters.clear();
        mExecute.Append(mRegisters);
        if (NxResult result = mPort.ReadRegisters(mRegisters); !result.IsOK()) {
            return result;
        }
        if (mExecute.Value(mRegisters.data()) != mCommandValue) {
            return {};
        }
    }
}

NxResult RegisterChunkAccess::ReadOutcome(Outcome& outcome) {
    mRegisters.clear();
    if (mExecuteIsReadable) {
        mExecute.Append(mRegisters);
    }
    const std::size_t status = mRegisters.size();
    mStatus.Append(mRegisters);
    const std::size_t outcomeResult = mRegisters.size();
    mResult.Append(mRegisters);
    NxResult result = mPort.ReadRegisters(mRegisters);
    if (result.IsOK()) {
        outcome.execute = mExecuteIsReadable ? mExecute.Value(mRegisters.data()) : 0;
        outcome.status = mStatus.Value(&mRegisters[status]);
        outcome.result = mResult.Value(&mRegisters[outcomeResult]);
    }
    return result;
}
