#include "FileAccess.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace simulator {

FileAccess::FileAccess(FirmwareStore& firmware, EventLog& events, std::uint32_t shortWriteEvery,
                       std::uint32_t increment)
    : mFirmware(firmware),
      mEvents(events),
      mShortWriteEvery(shortWriteEvery),
      mIncrement(increment) {}

FileAccess::Outcome FileAccess::Fail(Status status, const std::string& why) {
    mEvents.Add("file_operation_failed", {{"why", why}});
    return {status, 0};
}

FileAccess::Outcome FileAccess::Open(File file, OpenMode mode) {
    if (mUpload || mStatusOpen) {
        return Fail(Status::kDenied, "a file is already open");
    }
    if (file == File::kStatusTxt && mode == OpenMode::kRead) {
        const std::optional<std::string> status = mFirmware.HandOutStatus();
        if (!status) {
            return Fail(Status::kFailure, "the status cannot be read");
        }
        mStatus = *status;
        mStatusOpen = true;
        return {};
    }
    if (file == File::kRemoteUpdateDfw && mode == OpenMode::kWrite) {
        std::string why;
        mUpload = mFirmware.BeginUpload(why);
        mWrites = 0;
        return mUpload ? Outcome{} : Fail(Status::kDenied, why);
    }
    return Fail(Status::kDenied, "this file cannot be opened in this mode");
}

FileAccess::Outcome FileAccess::Close(File file) {
    if (file == File::kRemoteUpdateDfw && mUpload) {
        mUpload->Finish(mIncrement - 1);
        mUpload.reset();
        return {};
    }
    if (file == File::kStatusTxt && mStatusOpen) {
        mStatusOpen = false;
        return {};
    }
    return Fail(Status::kNotOpen, "the file to close is not open");
}

FileAccess::Outcome FileAccess::Read(File file, std::uint64_t offset, Bytes buffer) {
    if (file != File::kStatusTxt || !mStatusOpen) {
        return Fail(Status::kNotOpen, "the file to read is not open");
    }
    if (offset >= mStatus.size()) {
        return {};
    }
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t count = std::min(buffer.size(), mStatus.size() - start);
    std::copy_n(mStatus.begin() + static_cast<std::ptrdiff_t>(start), count, buffer.begin());
    return {Status::kSuccess, static_cast<std::uint32_t>(count)};
}

FileAccess::Outcome FileAccess::Write(File file, std::uint64_t offset, ConstBytes buffer) {
    if (file != File::kRemoteUpdateDfw || !mUpload) {
        return Fail(Status::kNotOpen, "the file to write is not open");
    }
    if (buffer.size() % mIncrement != 0) {
        return Fail(Status::kInvalidLength, "the length is not a multiple of the increment");
    }
    ++mWrites;
    if (mShortWriteEvery != 0 && mWrites % mShortWriteEvery == 0 && buffer.size() > 1) {
        buffer = buffer.first((buffer.size() / 2 + mIncrement - 1) / mIncrement * mIncrement);
    }
    if (!mUpload->Write(offset, buffer)) {
        return Fail(Status::kOverflow, "no room for the bytes, or a gap before them");
    }
    return {Status::kSuccess, static_cast<std::uint32_t>(buffer.size())};
}

std::uint64_t FileAccess::Size(File file) const {
    if (file == File::kStatusTxt) {
        return mStatusOpen ? mStatus.size() : mFirmware.State().lastStatus.size();
    }
    return file == File::kRemoteUpdateDfw && mUpload ? mUpload->Size() : 0;
}

void FileAccess::Abandon() {
    mUpload.reset();
    mStatusOpen = false;
}

}  // namespace simulator
