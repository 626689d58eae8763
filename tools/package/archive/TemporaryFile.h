#pragma once

#include <string>

/// An empty file in the folder for temporary files; removed with this object.
class TemporaryFile {
  public:
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Empty when the file could not be made.
    [[nodiscard]] const std::string& Path() const { return mPath; }

  private:
    std::string mPath;
};
