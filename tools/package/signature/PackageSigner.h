#pragma once

#include <optional>
#include <string>

#include "OpenSsl.h"

/// Signs files: CMS (RFC 5652), detached, in DER, with the signer's certificates. PackageSignature
/// verifies such signatures, and so does "openssl cms -verify -binary -inform DER -content FILE".
class PackageSigner {
  public:
    /// @param key PEM file of the private key
    /// @param certificates PEM file: the certificate of that key, then any that it was issued under
    /// @param passphrase of the key; nothing for a key without one
    /// @return empty, or what is wrong with them
    [[nodiscard]] std::string Load(const std::string& key, const std::string& certificates,
                                   const std::optional<std::string>& passphrase);
    /// @param signature set on success to what whoever trusts the certificate accepts now
    /// @return empty, or what went wrong
    [[nodiscard]] std::string Sign(const std::string& path, std::string& signature) const;

  private:
    [[nodiscard]] std::string LoadKey(const std::string& path,
                                      const std::optional<std::string>& passphrase);
    [[nodiscard]] std::string LoadCertificates(const std::string& path);

    std::string mCertificatePath;
    OpenSslOwned<EVP_PKEY> mKey;
    OpenSslOwned<X509> mCertificate;
    OpenSslOwned<STACK_OF(X509)> mIssuers;
};
