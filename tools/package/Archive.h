#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A zip archive, read member by member with bounded memory.
class Archive {
  public:
    struct Member {
        std::string name;  ///< as stored, folders included
        std::uint64_t size = 0;
        std::uint64_t compressedSize = 0;
        bool isReadable = true;  ///< by the updater: stored or deflated, and not encrypted
    };

    Archive();
    ~Archive();
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;

    /// @return empty, or why the file cannot be read as an archive
    [[nodiscard]] std::string Open(const std::string& path);
    [[nodiscard]] const std::vector<Member>& Members() const { return mMembers; }

    /// The member that the updater takes for this name: the first, in the order of the central
    /// directory, whose stored name contains it.
    [[nodiscard]] std::optional<std::size_t> FindAsUpdater(const std::string& name) const;

    /// Calls `take` with each piece of the member's bytes; `take` returns empty or an error, which
    /// ends the reading.
    /// @return empty, or what went wrong, a wrong checksum included
    using Take = std::function<std::string(const char* bytes, std::size_t count)>;
    [[nodiscard]] std::string Read(std::size_t member, const Take& take) const;
    [[nodiscard]] std::string ReadText(std::size_t member, std::size_t longest,
                                       std::string& text) const;
    [[nodiscard]] std::string Extract(std::size_t member, const std::string& path) const;

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
    std::vector<Member> mMembers;
};
