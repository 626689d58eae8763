#pragma once

#include <cstddef>
#include <string>

/// The file that holds the signature of another file: DER, beside it, as FILE.p7s.
class SignatureFile {
  public:
    /// Bytes that a signature with its certificates may have.
    static constexpr std::size_t kLongest = std::size_t{256} << 10U;

    /// @param signature its path; empty for the usual one
    SignatureFile(const std::string& file, const std::string& signature);

    [[nodiscard]] const std::string& Path() const { return mPath; }
    /// @return empty, or why it cannot be read
    [[nodiscard]] std::string Read(std::string& signature) const;
    /// Replaces an older one as a whole, or not at all.
    /// @return empty, or what went wrong
    [[nodiscard]] std::string Write(const std::string& signature) const;

  private:
    std::string mPath;
};
