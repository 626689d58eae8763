#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

/// The bytes of a firmware file that the user named.
///
/// If a signature is required, they are those of a copy without a name, made before they are
/// verified: whoever replaces or changes the file later changes nothing. Any thread, once opened.
class FirmwareContent {
  public:
    /// Of a message, in characters: a signature names its signers as it likes.
    static constexpr std::size_t kLongestMessage = 2000;

    explicit FirmwareContent(std::string name);

    /// Makes the copy and verifies it by the signature beside the file.
    /// @param authorities PEM file of the certificates to trust
    /// @return empty, or why it is not accepted, one line
    [[nodiscard]] std::string RequireSignature(const std::string& authorities);

    /// As the user wrote it; printable only where the user was careful.
    [[nodiscard]] const std::string& Name() const { return mName; }
    /// Where the bytes are to be read, as long as this object lives.
    [[nodiscard]] const std::string& Path() const { return mPath; }
    /// Who signed it; empty when nobody asked.
    [[nodiscard]] const std::string& Signers() const { return mSigners; }
    /// `problem`, which may contain Path, with the file's name in its place; printable.
    [[nodiscard]] std::string Named(std::string problem) const;

  private:
    struct Closer {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };

    [[nodiscard]] std::string Copy();

    std::string mName;
    std::string mPath;
    std::string mSigners;
    std::unique_ptr<std::FILE, Closer> mCopy;
};
