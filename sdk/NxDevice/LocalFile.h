#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A regular file of this computer, opened for reading.
class LocalFile {
  public:
    LocalFile() = default;
    ~LocalFile();
    LocalFile(const LocalFile&) = delete;
    LocalFile& operator=(const LocalFile&) = delete;

    /// @return kNxLocalFile, naming the file and the system's reason, for anything that is not a
    ///         readable regular file
    NxResult Open(const NxString& path);
    /// Fills the buffer from that byte of the file on.
    /// @param length number of bytes read: less than the buffer's size only at the file's end
    NxResult ReadAt(std::uint64_t offset, std::span<std::byte> buffer, std::size_t& length) const;
    /// Size in bytes when it was opened.
    [[nodiscard]] std::uint64_t Size() const { return mSize; }
    /// Whether `path` names this very file.
    [[nodiscard]] bool IsSameFileAs(const std::string& path) const;

  private:
    std::string mPath;
    int mDescriptor = -1;
    std::uint64_t mSize = 0;
};
