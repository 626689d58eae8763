#include "TftpFileSource.h"

#include <algorithm>

#include <internal/NxBase/ReturnIfFailed.h>

namespace {

constexpr std::size_t kPartSize{256U << 10U};

}  // namespace

NxResult TftpFileSource::Open(const NxString& path) {
    mPart.resize(kPartSize);
    return mFile.Open(path);
}

NxResult TftpFileSource::Read(std::uint64_t offset, std::span<std::byte> buffer) {
    while (!buffer.empty()) {
        if (offset < mPartOffset || offset >= mPartOffset + mPartLength) {
            const auto length =
                static_cast<std::size_t>(std::min<std::uint64_t>(kPartSize, Size() - offset));
            mPartLength = 0;
            NX_RETURN_IF_FAILED(mFile.ReadWhole(offset, std::span(mPart).first(length)));
            // Before any of it is sent: a mixture never gets its last block.
            NX_RETURN_IF_FAILED(mFile.CheckUnchanged());
            mPartOffset = offset;
            mPartLength = length;
        }
        const auto skip = static_cast<std::size_t>(offset - mPartOffset);
        const std::size_t count = std::min(buffer.size(), mPartLength - skip);
        std::copy_n(mPart.begin() + static_cast<std::ptrdiff_t>(skip), count, buffer.begin());
        buffer = buffer.subspan(count);
        offset += count;
    }
    return NxResult();
}
