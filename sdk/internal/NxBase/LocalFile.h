#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <sys/stat.h>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A regular file of this computer, opened for reading.
class NX_API LocalFile {
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
    /// Fills the whole buffer from that byte of the file on.
    /// @return kNxLocalFile also when the file ends before
    NxResult ReadWhole(std::uint64_t offset, std::span<std::byte> buffer) const;
    /// Whether all that was read since `Open` is of one file: its size and time are still those of
    /// then, and its path still names it.
    /// @return kNxLocalFile otherwise, in words for a file that is being sent
    [[nodiscard]] NxResult CheckUnchanged() const;
    /// Size in bytes when it was opened.
    [[nodiscard]] std::uint64_t Size() const { return static_cast<std::uint64_t>(mStatus.st_size); }
    /// Whether `path` names this very file.
    [[nodiscard]] bool IsSameFileAs(const std::string& path) const;

  private:
    std::string mPath;
    int mDescriptor = -1;
    struct stat mStatus {};  ///< when it was opened
};
