#pragma once

#include <string>

#include "SignatureFile.h"

/// A payload or package that has to be signed by someone trusted.
class SignedFile {
  public:
    /// @param name of the file, for messages
    /// @param content path of its bytes: the file itself, or a copy that nobody else can change
    SignedFile(std::string name, std::string content);

    /// @param authorities PEM file of the certificates to trust; never those of the system
    /// @return empty, or why it is not accepted, on one line that begins with the file's name
    [[nodiscard]] std::string Verify(const SignatureFile& file, const std::string& authorities);
    /// Who signed it; empty unless it is accepted.
    [[nodiscard]] const std::string& Signers() const { return mSigners; }

  private:
    std::string mName;
    std::string mContent;
    std::string mSigners;
};
