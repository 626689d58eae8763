#include "VerifyCommand.h"

#include <iostream>

#include <NxBase/PrintableText.h>

#include "SignedFile.h"

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
    SignedFile file(mFile, mFile);
    const std::string error = file.Verify(SignatureFile(mFile, mSignature), mAuthorities);
    if (!error.empty()) {
        return Fail(error);
    }
    std::cout << mFile << ": signed by " << PrintableText(file.Signers(), kLongestLine) << '\n';
    return kDone;
}
