#pragma once

#include <memory>
#include <string>

/// A lock that one process of this computer holds at a time: a file locked by flock(2), so that the
/// system gives the lock up when its holder ends, however it ends.
class LockFile {
  public:
    enum class Outcome {
        kTaken,
        kHeld,         ///< by somebody else
        kUnavailable,  ///< the file cannot be made or locked
    };

    /// Does not wait.
    /// @param lock set when it was taken; the same process cannot take it again meanwhile
    static Outcome Take(const std::string& path, std::unique_ptr<LockFile>& lock);

    /// Removes the file and gives the lock up.
    ~LockFile();
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

    [[nodiscard]] const std::string& Path() const { return mPath; }

  private:
    LockFile(std::string path, int descriptor);

    std::string mPath;
    int mDescriptor;
};
