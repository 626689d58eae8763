#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A file that appears under its name complete or not at all: written beside it under another
/// name, renamed at the end, removed when that end is not reached.
class AtomicFile {
  public:
    AtomicFile() = default;
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// @return kNxLocalFile, also when something other than a regular file has that name
    NxResult Open(const NxString& path);
    NxResult WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) const;
    /// Gives it its name, in place of an earlier file; its content is on the disk by then.
    NxResult Publish();

  private:
    [[nodiscard]] NxResult Failure(int error) const;

    std::string mPath;
    std::string mTemporaryPath;
    int mDescriptor = -1;
};
