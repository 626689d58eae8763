#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// A package's zip archive, open for reading. The updater and mirsko-package both read packages
/// through it, so that they agree on what a package holds. Used from one thread at a time.
class PackageArchive {
  public:
    /// What the central directory says of one member (PKWARE APPNOTE 6.3, section 4.3.12).
    struct Member {
        std::string name;  ///< as stored, folders included, up to 511 bytes and the first zero byte
        std::uint64_t size = 0;            ///< bytes, unpacked
        std::uint64_t compressedSize = 0;  ///< bytes
        bool isFolder = false;
        bool isSupported = false;  ///< stored or deflated, and not encrypted
    };

    explicit PackageArchive(const std::string& path);
    ~PackageArchive();
    PackageArchive(const PackageArchive&) = delete;
    PackageArchive& operator=(const PackageArchive&) = delete;

    /// False when the file does not exist or is not a zip archive; it then has no members.
    [[nodiscard]] bool IsOpen() const;
    [[nodiscard]] std::size_t Count() const;
    /// @return std::nullopt without that member, or when the directory is damaged there
    [[nodiscard]] std::optional<Member> At(std::size_t index) const;

    /// The first member, in the order of the central directory, whose stored name contains `name`.
    /// @return nothing, too, when the first member of all cannot be read
    [[nodiscard]] std::optional<std::size_t> Find(const std::string& name) const;

    /// Unpacks a member into the file at `destination`, which is made or emptied.
    /// @return false when it is a folder, not supported or damaged, or cannot be written; what was
    ///         written by then stays
    [[nodiscard]] bool Extract(std::size_t index, const std::string& destination) const;

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};
