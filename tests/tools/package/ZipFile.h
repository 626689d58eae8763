#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Writes a zip archive byte by byte, so that it can also be a wrong one. Members are stored.
class ZipFile {
  public:
    /// @param method 0 stored, 8 deflate, …: what the archive says, whatever the bytes are
    void Add(const std::string& name, const std::string& content, unsigned int method = 0,
             unsigned int flags = 0);
    [[nodiscard]] std::string Bytes() const;

  private:
    std::string mMembers;
    std::string mDirectory;
    unsigned int mCount = 0;
};
