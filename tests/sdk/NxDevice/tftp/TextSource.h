#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include <NxBase/NxResultCodes.h>

#include "tftp/TftpSource.h"

#include "Bytes.h"

/// A text to be sent.
class TextSource : public TftpSource {
  public:
    explicit TextSource(std::string text) : mText(std::move(text)) {}

    [[nodiscard]] std::uint64_t Size() const override { return mText.size(); }
    NxResult Read(std::uint64_t offset, std::span<std::byte> buffer) override {
        if (offset >= failsAt) {
            return NxResult(kNxLocalFile, "the disk is gone");
        }
        std::copy_n(BytesOf(mText).begin() + static_cast<std::ptrdiff_t>(offset), buffer.size(),
                    buffer.begin());
        return NxResult();
    }

    std::uint64_t failsAt = UINT64_MAX;

  private:
    std::string mText;
};
