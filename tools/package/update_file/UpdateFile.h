#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "../archive/Archive.h"
#include "../archive/TemporaryFile.h"

/// A GenICam update file (".guf"): a zip archive with "package.zip" and, where it is signed,
/// "META-INF/signature.p7s"; the package holds "Control.xml" and the files. A package without the
/// archive around it is read as well.
class UpdateFile {
  public:
    /// What is unpacked has at most that many bytes in all.
    static constexpr std::uint64_t kMaximumSize = std::uint64_t{1} << 30U;

    /// @return empty, or why it cannot be read
    [[nodiscard]] std::string Open(const std::string& path);

    [[nodiscard]] const Archive& Package() const { return mPackage; }
    [[nodiscard]] const std::string& PackagePath() const { return mPackagePath; }
    /// The bytes of the signature; nothing when it is not signed.
    [[nodiscard]] const std::optional<std::string>& Signature() const { return mSignature; }
    /// Names of what the archive around the package holds besides.
    [[nodiscard]] const std::vector<std::string>& Unused() const { return mUnused; }

    /// The package's member of that path, "./a\b" being "a/b".
    /// @return empty, or that there is none or more than one
    [[nodiscard]] std::string Find(const std::string& path, std::size_t& member) const;
    /// Unpacks a member of the package.
    /// @return empty, or what went wrong
    [[nodiscard]] std::string Extract(std::size_t member, const std::string& destination);

    static std::string NormalPath(std::string path);

  private:
    [[nodiscard]] std::string OpenOuter(const Archive& outer);
    [[nodiscard]] std::string TakeSize(const Archive::Member& member);
    [[nodiscard]] static std::vector<std::size_t> Named(const Archive& archive,
                                                        const std::string& path);

    TemporaryFile mInner;
    Archive mPackage;
    std::string mPackagePath;
    std::optional<std::string> mSignature;
    std::vector<std::string> mUnused;
    std::uint64_t mUnpacked = 0;
};
