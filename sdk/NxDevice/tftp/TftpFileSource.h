#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include <NxBase/NxString.h>
#include <internal/NxBase/LocalFile.h>

#include "TftpSource.h"

/// A local file to be sent, of which only a small part is in memory at a time. Reading fails when
/// the file was changed or replaced since it was opened.
class TftpFileSource : public TftpSource {
  public:
    NxResult Open(const NxString& path);

    [[nodiscard]] std::uint64_t Size() const override { return mFile.Size(); }
    NxResult Read(std::uint64_t offset, std::span<std::byte> buffer) override;
    [[nodiscard]] NxResult CheckUnchanged() const { return mFile.CheckUnchanged(); }

  private:
    LocalFile mFile;
    std::vector<std::byte> mPart;  ///< bytes of the file from mPartOffset on
    std::uint64_t mPartOffset = 0;
    std::size_t mPartLength = 0;
};
