#include "FileChunks.h"

#include <algorithm>
#include <string>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "FileFeatures.h"

namespace {

// Buffers above this gain nothing and would have to be held in memory.
constexpr std::uint64_t kLargestChunk = std::uint64_t{1} << 20U;

constexpr std::chrono::milliseconds kSameResultOfRead{1000};

bool IsRefusal(const NxResult& result) {
    return result.GetCode() == kNxDeviceError || result.GetCode() == kNxAccessDenied ||
           result.GetCode() == kNxFileOperation;
}

}  // namespace

FileChunks::FileChunks(NodeMap& nodes, Direction direction, FileOperation::Habits& habits)
    : mNodes(nodes),
      mDirection(direction),
      mHabits(habits),
      mOperation(nodes, direction == Direction::kWrite ? "Write" : "Read", habits) {}

NxResult FileChunks::Prepare() {
    for (const auto& [feature, node, sets] :
         {std::tuple{FileFeatures::kOffset, &mOffset, &mSetsOffset},
          std::tuple{FileFeatures::kLength, &mLength, &mSetsLength}}) {
        NodeRights rights;
        NX_RETURN_IF_FAILED(mNodes.Require(feature, *node));
        NX_RETURN_IF_FAILED(mNodes.FindRights(*node, NodeRights::Scope::kNow, rights));
        *sets = rights.MayWrite();
        if (node == &mOffset) {
            mChecksPosition = !rights.MayWrite() && rights.MayRead();
            if (!rights.MayWrite() && !mChecksPosition) {
                return mNodes.Refuse(feature, "is currently neither writable nor readable");
            }
        }
    }
    NxResult result = mOperation.Prepare(mChecksPosition ? mOffset : NodeTable::kNone);
    std::int64_t before = 0;
    // The first chunk's result must differ from what is left there already.
    if (result.IsOK() && mHabits.keepsValue && mOperation.ReadResultAnew(before).IsOK()) {
        mLastResult = before;
    }
    return result.IsOK() ? FindLimits() : result;
}

NxResult FileChunks::FindLimits() {
    NodeValues::Place buffer;
    NX_RETURN_IF_FAILED(mOperation.LocateBuffer(buffer));
    if (buffer.length == 0) {
        return NxResult(kNxBadDescription,
                        mNodes.Port().DeviceName() + " has an empty FileAccessBuffer");
    }
    mRoom = static_cast<std::size_t>(std::min(buffer.length, kLargestChunk));
    mChunkSize = mRoom;
    std::int64_t number = 0;
    // Without a maximum that can be found the buffer alone decides. With a maximum of 0 nothing
    // could be moved at all: the device may refuse the length itself.
    NxResult result = mSetsLength ? mNodes.Access().Maximum(mLength, number)
                                  : mNodes.Access().Integer(mLength, number);
    if (!result.IsOK() && result.GetCode() != kNxNodeAccess && result.GetCode() != kNxDeviceError &&
        result.GetCode() != kNxAccessDenied) {
        return result;
    }
    if (result.IsOK() && number > 0) {
        mChunkSize = static_cast<std::size_t>(
            std::min<std::uint64_t>(mChunkSize, static_cast<std::uint64_t>(number)));
    }
    if (!mSetsLength) {
        mIncrement = mChunkSize;
        return {};
    }
    const auto isUsable = [&] {
        return number > 1 && static_cast<std::uint64_t>(number) <= mChunkSize;
    };
    if (mNodes.Access().Increment(mLength, number).IsOK() && isUsable()) {
        mIncrement = static_cast<std::size_t>(number);
        mChunkSize -= mChunkSize % mIncrement;
    }
    if (mNodes.Access().Minimum(mLength, number).IsOK() && isUsable()) {
        mLeast = static_cast<std::size_t>(number);
    }
    // Leaves room for the zeros that fill up the last four bytes.
    if (mIncrement == 1 && mChunkSize > 4) {
        mChunkSize -= mChunkSize % 4;
    }
    return {};
}

std::size_t FileChunks::Allowed(std::size_t length) const {
    const std::size_t most = std::max(length, mLeast);
    return std::min(mChunkSize, (most + mIncrement - 1) / mIncrement * mIncrement);
}

NxResult FileChunks::CheckPosition(std::uint64_t expected) {
    if (!mChecksPosition) {
        return {};
    }
    std::int64_t position = 0;
    NX_RETURN_IF_FAILED(mOperation.ReadObserved(position));
    if (static_cast<std::uint64_t>(position) != expected) {
        return NxResult(kNxTransferIncomplete,
                        mNodes.Port().DeviceName() + " is at byte " + std::to_string(position) +
                            " of its file instead of byte " + std::to_string(expected) +
                            ": an operation was lost or executed twice");
    }
    return {};
}

NxResult FileChunks::WriteBuffer(std::span<const std::byte> chunk, std::size_t length) {
    NodeValues::Place buffer;
    NX_RETURN_IF_FAILED(mOperation.LocateBuffer(buffer));
    // Zeros up to the next multiple of four bytes, where the buffer has room for them: some devices
    // take no other lengths.
    const std::size_t padded = (std::max(chunk.size(), length) + 3) / 4 * 4;
    const std::size_t wanted = padded <= std::min<std::uint64_t>(mRoom, buffer.length)
                                   ? padded
                                   : std::max(chunk.size(), length);
    if (wanted == chunk.size()) {
        return mNodes.Port().WriteMemory(buffer.address, chunk);
    }
    std::vector<std::byte> bytes(chunk.begin(), chunk.end());
    bytes.resize(wanted);
    return mNodes.Port().WriteMemory(buffer.address, bytes);
}

NxResult FileChunks::Write(std::uint64_t offset, std::span<const std::byte> chunk,
                           std::uint64_t& taken) {
    chunk = chunk.first(UnlikeTheLast(chunk.size()));
    const std::size_t allowed = Allowed(chunk.size());
    NxResult result = WriteOnce(offset, chunk, mSetsLength ? chunk.size() : allowed, taken);
    const bool isNotTaken = IsRefusal(result) || (result.IsOK() && taken == 0);
    if (isNotTaken && allowed != chunk.size() && mSetsLength) {
        // The last chunk: its length is none that the description allows, and the device insists.
        result = WriteOnce(offset, chunk, allowed, taken);
    }
    return result;
}

NxResult FileChunks::WriteOnce(std::uint64_t offset, std::span<const std::byte> chunk,
                               std::size_t length, std::uint64_t& taken) {
    NX_RETURN_IF_FAILED(WriteBuffer(chunk, length));
    const bool lengthWasKnown = mLengthInDevice.has_value();
    std::uint64_t moved = 0;
    NxResult result = Run(offset, length, moved);
    if (result.IsOK() && moved == 0 && lengthWasKnown && !mChecksPosition) {
        // The device may have forgotten the length that was not written again.
        mLengthInDevice.reset();
        result = Run(offset, length, moved);
    }
    if (result.IsOK()) {
        taken = std::min<std::uint64_t>(moved, chunk.size());
        // Past what was taken there are the zeros that filled the chunk up.
        mKnowsPosition = mKnowsPosition && moved == taken;
    }
    return result;
}

NxResult FileChunks::Read(std::uint64_t offset, std::span<std::byte> chunk, std::uint64_t& given) {
    // Written again each time: 0 bytes mean the end of the file here, not a forgotten length.
    mLengthInDevice.reset();
    std::uint64_t moved = 0;
    NX_RETURN_IF_FAILED(Run(offset, Allowed(chunk.size()), moved));
    const auto available = static_cast<std::size_t>(std::min<std::uint64_t>(moved, chunk.size()));
    if (available > 0) {
        NodeValues::Place buffer;
        NX_RETURN_IF_FAILED(mOperation.LocateBuffer(buffer));
        NX_RETURN_IF_FAILED(mNodes.Port().ReadMemory(buffer.address, chunk.first(available)));
    }
    given = available;
    return {};
}

// If a device's execute register reports nothing, a result that has changed is the only sign that
// it has carried the operation out; two chunks of one length would have the same.
std::size_t FileChunks::UnlikeTheLast(std::size_t length) const {
    const std::size_t step = std::max<std::size_t>(mIncrement, 4);
    const bool isLike =
        mHabits.keepsValue && mLastResult == static_cast<std::int64_t>(length) && length > step;
    return isLike ? length - step : length;
}

NxResult FileChunks::AwaitNewResult(std::int64_t& value) {
    OperationPoll poll(mOperation.Name(), mNodes.Port().DeviceName());
    const auto end = OperationPoll::Clock::now() + kSameResultOfRead;
    while (mLastResult == value) {
        // Reading may well give as many bytes as before.
        if (mDirection == Direction::kRead && OperationPoll::Clock::now() >= end) {
            return {};
        }
        NX_RETURN_IF_FAILED(poll.Pause());
        NX_RETURN_IF_FAILED(mOperation.ReadResultAnew(value));
    }
    return {};
}

// The offset is always written where it can be: a command that was repeated on the way must not
// advance the file. Where the device keeps it itself, it is looked at before and after.
NxResult FileChunks::Run(std::uint64_t offset, std::size_t length, std::uint64_t& moved) {
    if (!mKnowsPosition) {
        NX_RETURN_IF_FAILED(CheckPosition(offset));
    }
    mKnowsPosition = false;
    std::vector<FileOperation::Setting> settings;
    if (mSetsOffset) {
        settings.push_back({.node = mOffset, .value = static_cast<std::int64_t>(offset)});
    }
    // Costs nothing beside the others in one command, else a command of its own.
    const bool isCombined = mNodes.Port().CombinesRegisters() && !mHabits.refusesHalves;
    if (mSetsLength && (isCombined || mLengthInDevice != length)) {
        settings.push_back({.node = mLength, .value = static_cast<std::int64_t>(length)});
    }
    mLengthInDevice.reset();
    NX_RETURN_IF_FAILED(mOperation.Run(settings));
    std::int64_t value = 0;
    NX_RETURN_IF_FAILED(mOperation.ReadResult(value));
    if (mHabits.keepsValue) {
        NX_RETURN_IF_FAILED(AwaitNewResult(value));
    }
    mLastResult = value;
    const auto reported = static_cast<std::uint64_t>(value);
    if (reported > length) {
        return NxResult(kNxProtocol, mNodes.Port().DeviceName() + " reports " +
                                         std::to_string(reported) + " bytes transferred by " +
                                         mOperation.Name() + " instead of " +
                                         std::to_string(length));
    }
    NX_RETURN_IF_FAILED(CheckPosition(offset + reported));
    mKnowsPosition = mChecksPosition;
    mLengthInDevice = length;
    moved = reported;
    return {};
}
