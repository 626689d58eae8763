#include "FileOperations.h"

#include <utility>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

using File = FileAccess::File;
using Operation = FileAccess::Operation;

const char* NameOf(Operation operation) {
    switch (operation) {
        case Operation::kOpen:
            return "open";
        case Operation::kClose:
            return "close";
        case Operation::kRead:
            return "read";
        case Operation::kWrite:
            return "write";
    }
    return "unknown";
}

}  // namespace

FileOperations::FileOperations(FirmwareStore& firmware, EventLog& events,
                               const DeviceOptions& options, std::uint32_t increment, Report report)
    : mOptions(options),
      mFiles(firmware, events, options.shortWriteEvery, increment),
      mReport(std::move(report)) {}

MemoryStatus FileOperations::Start(Request request, Completion completion) {
    if (IsBusy()) {
        return MemoryStatus::kBusy;
    }
    if (!HasFileSelector(mOptions.profile)) {
        if (request.operation == Operation::kOpen) {
            // With one nameless file, what is read from it is the status.
            mImplicitFile = request.mode == FileAccess::OpenMode::kRead ? File::kStatusTxt
                                                                        : File::kRemoteUpdateDfw;
        }
        request.file = mImplicitFile;
    }
    ++mCount;
    mOutcome = Carry(request);
    mOccupied += mOptions.executeLatency;
    if (completion == Completion::kAcknowledged) {
        mOccupied += mOptions.operationTime;
    } else {
        mDoneAt = Clock::now() + mOptions.operationTime;
    }
    if (mOptions.operationEvents) {
        mReport("operation", {{"operation", NameOf(request.operation)},
                              {"offset", request.offset},
                              {"length", request.length},
                              {"succeeded", mOutcome.status == FileAccess::Status::kSuccess},
                              {"result", mOutcome.result}});
    }
    return MemoryStatus::kOk;
}

FileAccess::Outcome FileOperations::Carry(const Request& request) {
    if (request.operation == Operation::kOpen) {
        mSinceOpen.clear();
        mPosition = 0;
        mPositionFile = request.file;
        mReport("open", nlohmann::json::object());
    }
    ++mSinceOpen[NameOf(request.operation)];
    switch (request.operation) {
        case Operation::kOpen:
            return mFiles.Open(request.file, request.mode);
        case Operation::kClose: {
            const FileAccess::Outcome outcome = mFiles.Close(request.file);
            mReport("close", {{"operations", mSinceOpen}});
            return outcome;
        }
        case Operation::kRead:
        case Operation::kWrite:
            break;
        default:
            return {FileAccess::Status::kFailure, 0};
    }
    if (request.length > request.buffer.size()) {
        return {FileAccess::Status::kInvalidLength, 0};
    }
    const Bytes bytes = request.buffer.first(request.length);
    const FileAccess::Outcome outcome = request.operation == Operation::kRead
                                            ? mFiles.Read(request.file, request.offset, bytes)
                                            : mFiles.Write(request.file, request.offset, bytes);
    mPosition = request.offset + outcome.result;
    return outcome;
}

FileAccess::Outcome FileOperations::Outcome() const {
    // An application that does not wait until it is done shall not get away with it.
    return {mOutcome.status, IsBusy() ? 0 : mOutcome.result};
}

std::uint64_t FileOperations::Size(FileAccess::File file) const {
    return mFiles.Size(HasFileSelector(mOptions.profile) ? file : mImplicitFile);
}

std::uint64_t FileOperations::Position(FileAccess::File file) const {
    const bool known = !HasFileSelector(mOptions.profile) || file == mPositionFile;
    return known && IsOpen() ? mPosition : 0;
}

void FileOperations::Abandon() {
    mFiles.Abandon();
    mDoneAt = {};
}

std::chrono::milliseconds FileOperations::TakeOccupiedTime() {
    return std::exchange(mOccupied, std::chrono::milliseconds(0));
}

}  // namespace simulator
