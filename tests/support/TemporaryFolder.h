#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// A new empty folder that is removed with everything in it.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& Path() const { return mPath; }
    /// Writes a file of that name and returns its path.
    std::string Write(const std::string& name, std::string_view content) const;

  private:
    std::filesystem::path mPath;
};

/// The bytes of a file; a test failure and empty when it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// `size` bytes that look random but are the same in every run with that seed.
std::string RandomBytes(std::size_t size, unsigned int seed);
