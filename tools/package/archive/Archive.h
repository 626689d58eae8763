#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PackageArchive.h"

/// A zip archive, read by the updater's own reader, member by member with bounded memory and
/// without a temporary file.
class Archive {
  public:
    struct Member {
        std::size_t index = 0;  ///< in the archive's directory
        std::string name;       ///< as the updater sees it, folders included
        std::uint64_t size = 0;
        std::uint64_t compressedSize = 0;
        bool isFolder = false;
        bool isReadable = true;  ///< by the updater: stored or deflated, and not encrypted
    };

    /// @return empty, or why the file cannot be read as an archive
    [[nodiscard]] std::string Open(const std::string& path);
    /// The members that can be described, in the order of the directory.
    [[nodiscard]] const std::vector<Member>& Members() const { return mMembers; }

    /// The member that the updater takes for this name (see PackageArchive::Find).
    [[nodiscard]] std::optional<std::size_t> FindAsUpdater(const std::string& name) const;

    /// Calls `take` with each piece of the member's bytes; `take` returns empty or an error, which
    /// ends the reading.
    /// @return empty, or what went wrong, a wrong checksum included; what `take` was given before
    ///         is not to be trusted then
    using Take = std::function<std::string(const char* bytes, std::size_t count)>;
    [[nodiscard]] std::string Read(std::size_t member, const Take& take) const;
    [[nodiscard]] std::string ReadText(std::size_t member, std::size_t longest,
                                       std::string& text) const;
    [[nodiscard]] std::string Extract(std::size_t member, const std::string& path) const;

  private:
    std::unique_ptr<PackageArchive> mArchive;
    std::vector<Member> mMembers;
};
