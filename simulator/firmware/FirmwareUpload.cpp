#include "FirmwareUpload.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "FirmwareStore.h"

namespace simulator {

FirmwareUpload::FirmwareUpload(FirmwareStore& store)
    : mStore(store),
      mBody(open(store.IncomingFile().c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {}

FirmwareUpload::~FirmwareUpload() {
    if (!mFinished) {
        mStore.DropUpload(mSize);
    }
    if (mBody >= 0) {
        close(mBody);
    }
}

bool FirmwareUpload::Write(std::uint64_t offset, ConstBytes bytes) {
    const std::uint64_t limit = PayloadHeader::kSize + mStore.mOptions.flashSize;
    if (mFinished || mBody < 0 || offset > mSize || bytes.size() > limit - offset) {
        return false;
    }
    const std::uint64_t end = offset + bytes.size();
    if (offset != mSize) {
        mSequential = false;
    }
    if (offset < PayloadHeader::kSize) {
        const auto place = static_cast<std::size_t>(offset);
        const std::size_t count = std::min(bytes.size(), PayloadHeader::kSize - place);
        mHead.resize(std::max(mHead.size(), place + count));
        std::copy_n(bytes.begin(), count, mHead.begin() + static_cast<std::ptrdiff_t>(place));
        bytes = bytes.subspan(count);
        offset += count;
    }
    if (!WriteBody(offset, bytes)) {
        return false;
    }
    mSequentialCrc.Add(bytes);
    mSize = std::max(mSize, end);
    return mStore.PayloadGrew(*this);
}

bool FirmwareUpload::WriteBody(std::uint64_t offset, ConstBytes bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = pwrite(mBody, bytes.data(), bytes.size(),
                                     static_cast<off_t>(offset - PayloadHeader::kSize));
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
            offset += static_cast<std::uint64_t>(count);
        }
    }
    return true;
}

void FirmwareUpload::Finish(std::uint32_t padding) {
    if (!mFinished) {
        mFinished = true;
        mMaxPadding = padding;
        mStore.EndUpload(*this);
    }
}

void FirmwareUpload::CutPadding(std::uint64_t bodyLength) {
    const std::uint64_t end = PayloadHeader::kSize + bodyLength;
    if (mSize > end && mSize - end <= mMaxPadding &&
        ftruncate(mBody, static_cast<off_t>(bodyLength)) == 0) {
        mSize = end;
        mSequential = false;
    }
}

std::uint32_t FirmwareUpload::BodyCrc() const {
    if (mSequential) {
        return mSequentialCrc.Value();
    }
    Crc32 crc;
    std::array<std::uint8_t, 65536> buffer{};
    off_t offset = 0;
    ssize_t count = 0;
    while ((count = pread(mBody, buffer.data(), buffer.size(), offset)) > 0) {
        crc.Add(ConstBytes(buffer).first(static_cast<std::size_t>(count)));
        offset += count;
    }
    return crc.Value();
}

std::string FirmwareUpload::BodyText(std::size_t limit) const {
    std::string text(limit, '\0');
    const ssize_t count = pread(mBody, text.data(), limit, 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

}  // namespace simulator
