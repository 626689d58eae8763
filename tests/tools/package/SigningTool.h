#pragma once

#include <string>
#include <vector>

#include "PackageTool.h"

/// Keys and certificates of the test's own, made by the openssl program.
class SigningTool : public PackageTool {
  protected:
    static void OpenSsl(std::vector<std::string> arguments);
    /// A self-signed certificate: `name`.key and `name`.pem.
    void MakeAuthority(const std::string& name = "ca") const;
    /// A certificate of the authority "ca" for "signer": signer.key and signer.pem.
    /// @param extensions lines of an extension file of openssl
    void MakeSigner(const std::string& extensions = "keyUsage=digitalSignature\n",
                    const std::vector<std::string>& validity = {"-days", "2"}) const;
    /// The signature of these bytes by the signer, made by openssl.
    [[nodiscard]] std::string Sign(const std::string& content,
                                   const std::vector<std::string>& options = {}) const;
};
