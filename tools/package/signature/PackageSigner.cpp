#include "PackageSigner.h"

#include <algorithm>
#include <cstddef>

#include <openssl/pem.h>

#include "PackageSignature.h"

namespace {

struct Passphrase {
    const std::optional<std::string>& text;
    bool wasAskedFor = false;
};

/// For libcrypto, which else asks at the terminal.
int GivePassphrase(char* buffer, int size, int /*isForWriting*/, void* context) {
    auto& passphrase = *static_cast<Passphrase*>(context);
    passphrase.wasAskedFor = true;
    if (!passphrase.text || passphrase.text->size() > static_cast<std::size_t>(size)) {
        return -1;
    }
    std::ranges::copy(*passphrase.text, buffer);
    return static_cast<int>(passphrase.text->size());
}

}  // namespace

std::string PackageSigner::Load(const std::string& key, const std::string& certificates,
                                const std::optional<std::string>& passphrase) {
    std::string error = LoadKey(key, passphrase);
    error = error.empty() ? LoadCertificates(certificates) : error;
    if (error.empty() && X509_check_private_key(mCertificate.get(), mKey.get()) != 1) {
        error = certificates + ": not the certificate of the key " + key;
    }
    return error;
}

std::string PackageSigner::LoadKey(const std::string& path,
                                   const std::optional<std::string>& passphrase) {
    ERR_clear_error();
    const OpenSslOwned<BIO> file(BIO_new_file(path.c_str(), "rb"));
    if (!file) {
        return path + ": " + LastOpenSslError();
    }
    Passphrase context{.text = passphrase};
    mKey.reset(PEM_read_bio_PrivateKey(file.get(), nullptr, GivePassphrase, &context));
    if (mKey) {
        return "";
    }
    if (!context.wasAskedFor) {
        return path + ": not a private key in PEM format";
    }
    return path + (passphrase ? ": the passphrase is wrong, or the key is damaged"
                              : ": encrypted; use --passphrase-file");
}

std::string PackageSigner::LoadCertificates(const std::string& path) {
    ERR_clear_error();
    mCertificatePath = path;
    const OpenSslOwned<BIO> file(BIO_new_file(path.c_str(), "rb"));
    if (!file) {
        return path + ": " + LastOpenSslError();
    }
    mCertificate.reset(PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr));
    if (!mCertificate) {
        return path + ": not a certificate in PEM format";
    }
    mIssuers.reset(sk_X509_new_null());
    while (X509* const issuer = PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr)) {
        if (sk_X509_push(mIssuers.get(), issuer) == 0) {
            X509_free(issuer);
            return path + ": " + LastOpenSslError();
        }
    }
    return "";
}

std::string PackageSigner::Sign(const std::string& path, std::string& signature) const {
    ERR_clear_error();
    const OpenSslOwned<BIO> content(BIO_new_file(path.c_str(), "rb"));
    if (!content) {
        return path + ": " + LastOpenSslError();
    }
    const OpenSslOwned<CMS_ContentInfo> message(
        CMS_sign(mCertificate.get(), mKey.get(), mIssuers.get(), content.get(),
                 CMS_DETACHED | CMS_BINARY | CMS_NOSMIMECAP));
    const OpenSslOwned<BIO> bytes(BIO_new(BIO_s_mem()));
    if (!message || !bytes || i2d_CMS_bio(bytes.get(), message.get()) != 1) {
        return path + ": cannot be signed with this key: " + LastOpenSslError();
    }
    char* first = nullptr;
    const long size = BIO_get_mem_data(bytes.get(), &first);
    std::string made(first, static_cast<std::size_t>(size));
    // An expired certificate, or one for other uses, makes signatures that nobody accepts.
    PackageSignature check(mCertificatePath);
    if (check.Verify(made, path) != PackageSignature::Verdict::kTrusted) {
        return mCertificatePath +
               ": signatures with this certificate are not accepted: " + check.Reason();
    }
    signature = std::move(made);
    return "";
}
