#include "VerifyCommand.h"

#include <iostream>

#include <NxBase/PrintableText.h>

#include "PackageSignature.h"
#include "SignatureFile.h"

CLI::App* VerifyCommand::Declare(CLI::App& program) {
    CLI::App* const options = program.add_subcommand(
        "verify", "Check who signed a payload or package, and that it is unchanged");
    options
        ->add_option("--ca", mAuthorities,
                     "PEM file of the certificates to trust: of signers, or of\nthose under which "
                     "they were issued; required")
        ->option_text("FILE")
        ->required()
        ->check(CLI::ExistingFile);
    options->add_option("--signature", mSignature, "Signature file; by default FILE.p7s")
        ->option_text("FILE");
    AddArgument(*options, "FILE", mFile, "A \".dfw\" payload or a package")
        ->check(CLI::ExistingFile.description(""));
    return options;
}

int VerifyCommand::Run() {
    std::string bytes;
    const std::string error = SignatureFile(mFile, mSignature).Read(bytes);
    if (!error.empty()) {
        return Fail(mFile + ": not signed: " + error);
    }
    PackageSignature signature(mAuthorities);
    switch (signature.Verify(bytes, mFile)) {
        case PackageSignature::Verdict::kTrusted:
            std::cout << mFile << ": signed by " << PrintableText(signature.Signers(), kLongestLine)
                      << '\n';
            return kDone;
        case PackageSignature::Verdict::kUntrusted:
            return Fail(mFile + ": signed by " + signature.Signers() +
                        ", whose certificate cannot be verified: " + signature.Reason());
        case PackageSignature::Verdict::kNotASignature:
            return Fail(mFile + ": invalid signature: " + signature.Reason());
        case PackageSignature::Verdict::kWrong:
            break;
    }
    return Fail(mFile + ": invalid signature: " + signature.Reason() +
                "; the file was changed after it was signed, or this is the signature of another "
                "file");
}
