#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include <NxBase/NxResult.h>

/// A regular file of this computer that is read once from its beginning to its end.
class LocalPayload {
  public:
    /// @return kNxLocalFile with the system's reason
    NxResult Open(const std::string& path);
    [[nodiscard]] std::uint64_t Size() const { return mSize; }
    /// Fills the whole buffer with the next bytes.
    /// @return kNxLocalFile also when the file has become shorter than that
    NxResult Read(std::span<std::byte> buffer);

  private:
    std::string mPath;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile{nullptr, std::fclose};
    std::uint64_t mSize = 0;
};
