#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxBase/NxResult.h>
#include <internal/NxBase/LocalFile.h>

/// A regular file of this computer that is read once from its beginning to its end.
class LocalPayload {
  public:
    /// @return kNxLocalFile with the system's reason
    NxResult Open(const std::string& path);
    [[nodiscard]] std::uint64_t Size() const { return mFile.Size(); }
    /// Fills the whole buffer with the next bytes.
    /// @return kNxLocalFile also when the file does not have them, and with its last bytes when it
    ///         was changed or replaced since it was opened
    NxResult Read(std::span<std::byte> buffer);
    /// kNxLocalFile when the file was changed or replaced since it was opened.
    [[nodiscard]] NxResult CheckUnchanged() const { return mFile.CheckUnchanged(); }

  private:
    LocalFile mFile;
    std::uint64_t mPosition = 0;
};
