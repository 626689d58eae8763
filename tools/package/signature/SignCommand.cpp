#include "SignCommand.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>

#include <openssl/crypto.h>

#include "PackageSigner.h"
#include "SignatureFile.h"

namespace {

/// The first line of a file.
std::optional<std::string> FirstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    return std::getline(file, line) ? std::optional(line) : std::nullopt;
}

}  // namespace

CLI::App* SignCommand::Declare(CLI::App& program) {
    CLI::App* const options =
        program.add_subcommand("sign", "Sign a payload or package (CMS, RFC 5652)");
    options->add_option("--key", mKey, "Private key, PEM; required")
        ->option_text("FILE")
        ->required()
        ->check(CLI::ExistingFile);
    options
        ->add_option("--certificate", mCertificate,
                     "Certificate of the key, PEM, perhaps followed by\nthose that it was issued "
                     "under; required")
        ->option_text("FILE")
        ->required()
        ->check(CLI::ExistingFile);
    options
        ->add_option("--passphrase-file", mPassphraseFile,
                     "File whose first line is the passphrase of the key")
        ->option_text("FILE")
        ->check(CLI::ExistingFile);
    options->add_option("--signature", mSignature, "Signature file to write; by default FILE.p7s")
        ->option_text("FILE");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package")
        ->check(CLI::ExistingFile.description(""));
    return options;
}

int SignCommand::Run() {
    const SignatureFile file(mFile, mSignature);
    for (const std::string& input : {mFile, mKey, mCertificate, mPassphraseFile}) {
        std::error_code missing;
        if (std::filesystem::equivalent(input, file.Path(), missing)) {
            return Fail(file.Path() + " is an input file; choose another name for the signature");
        }
    }
    std::optional<std::string> passphrase;
    if (!mPassphraseFile.empty()) {
        passphrase = FirstLine(mPassphraseFile);
        if (!passphrase) {
            return Fail(mPassphraseFile + ": has no passphrase");
        }
    }
    PackageSigner signer;
    std::string signature;
    std::string error = signer.Load(mKey, mCertificate, passphrase);
    if (passphrase) {
        OPENSSL_cleanse(passphrase->data(), passphrase->size());
    }
    error = error.empty() ? signer.Sign(mFile, signature) : error;
    error = error.empty() ? file.Write(signature) : error;
    if (!error.empty()) {
        return Fail(error);
    }
    std::cout << file.Path() << ": signature of " << mFile << '\n';
    return kDone;
}
