#include "SignedFile.h"

#include <utility>

#include "PackageSignature.h"

SignedFile::SignedFile(std::string name, std::string content)
    : mName(std::move(name)), mContent(std::move(content)) {}

std::string SignedFile::Verify(const SignatureFile& file, const std::string& authorities) {
    mSigners.clear();
    if (authorities.empty()) {
        return mName + ": no certificates to trust";
    }
    std::string bytes;
    const std::string error = file.Read(bytes);
    if (!error.empty()) {
        return mName + ": not signed: " + error;
    }
    PackageSignature signature(authorities);
    switch (signature.Verify(bytes, mContent)) {
        case PackageSignature::Verdict::kTrusted:
            mSigners = signature.Signers();
            return "";
        case PackageSignature::Verdict::kUntrusted:
            return mName + ": signed by " + signature.Signers() +
                   ", whose certificate cannot be verified: " + signature.Reason();
        case PackageSignature::Verdict::kNotASignature:
            return mName + ": invalid signature: " + signature.Reason();
        case PackageSignature::Verdict::kWrong:
            break;
    }
    return mName + ": invalid signature: " + signature.Reason() +
           "; the file was changed after it was signed, or this is the signature of another file";
}
