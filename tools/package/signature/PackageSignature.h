#pragma once

#include <string>

/// The signature of a file, or of the package in an update file: CMS (RFC 5652), over its bytes.
class PackageSignature {
  public:
    enum class Verdict {
        kTrusted,        ///< it is of these bytes, and its signer is trusted
        kUntrusted,      ///< it is of these bytes, but who signed them cannot be verified
        kWrong,          ///< it is a signature, but not of these bytes
        kNotASignature,  ///< it is something else
    };

    /// @param authorities PEM file of the certificates to trust; empty for those that the system
    ///                    trusts
    explicit PackageSignature(std::string authorities);

    /// @param signature DER
    /// @param path the file that is signed
    [[nodiscard]] Verdict Verify(const std::string& signature, const std::string& path);
    /// Who signed it; empty when it is wrong.
    [[nodiscard]] const std::string& Signers() const { return mSigners; }
    /// Why it is not trusted; empty when it is.
    [[nodiscard]] const std::string& Reason() const { return mReason; }

  private:
    Verdict Judge(Verdict verdict, const std::string& reason);

    std::string mAuthorities;
    std::string mSigners;
    std::string mReason;
};
