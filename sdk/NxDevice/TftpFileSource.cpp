#include "TftpFileSource.h"

#include <algorithm>
#include <string>

#include <NxBase/NxResultCodes.h>

namespace {

constexpr std::size_t kPartSize{256U << 10U};

}  // namespace

NxResult TftpFileSource::Open(const NxString& path) {
    mPath = path;
    mPart.resize(kPartSize);
    return mFile.Open(path);
}

NxResult TftpFileSource::Read(std::uint64_t offset, std::span<std::byte> buffer) {
    while (!buffer.empty()) {
        if (offset < mPartOffset || offset >= mPartOffset + mPartLength) {
            NxResult result = mFile.ReadAt(offset, mPart, mPartLength);
            if (!result.IsOK()) {
                return result;
            }
            mPartOffset = offset;
            if (mPartLength == 0) {
                return NxResult(kNxLocalFile, std::string(mPath.GetAscii()) +
                                                  " became shorter while it was being sent");
            }
        }
        const auto skip = static_cast<std::size_t>(offset - mPartOffset);
        const std::size_t count = std::min(buffer.size(), mPartLength - skip);
        std::copy_n(mPart.begin() + static_cast<std::ptrdiff_t>(skip), count, buffer.begin());
        buffer = buffer.subspan(count);
        offset += count;
    }
    return NxResult();
}
