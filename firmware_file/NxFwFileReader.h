#pragma once

#include <string>

/// The firmware file that an update is made of: gives a local path for a named member of it, and
/// its text.
///
/// A plain file is its own only member, named by its full path. Failures are silent: an empty path
/// or an empty text. Used from one thread.
class NxFwFileReader {
  public:
    /// @param aAuxiliary a second text kept beside the path; nothing reads it
    /// @param aFilePath the file served, taken as it is; whether it exists shows only on use
    NxFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath);
    virtual ~NxFwFileReader();
    NxFwFileReader(const NxFwFileReader&) = delete;
    NxFwFileReader& operator=(const NxFwFileReader&) = delete;

    /// @return a local path at which the member can be read while this reader lives; empty when
    ///         there is no such member
    [[nodiscard]] virtual std::string ExtractFile(const std::string& aName);

    /// The text of the file up to its first zero byte; empty when the file cannot be opened, and
    /// what was read before it when a read fails. Throws std::bad_alloc when the memory is
    /// exhausted.
    [[nodiscard]] std::string GetFileContent() const;

    /// The path that this reader was made with.
    [[nodiscard]] const std::string& GetFilePath() const { return mFilePath; }

  private:
    std::string mFilePath;
    std::string mAuxiliary;
};
