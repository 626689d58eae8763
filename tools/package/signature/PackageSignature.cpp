#include "PackageSignature.h"

#include <utility>

#include <openssl/x509v3.h>

#include "OpenSsl.h"

namespace {

/// Certificates that belong to something else.
struct ListFreer {
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_free(certificates); }
};

/// Forged signatures must not be cheaper than 80 bits: RSA of 1024 bits, no SHA-1 certificates.
constexpr int kSecurityLevel = 1;

std::string NameOf(const X509* certificate) {
    const OpenSslOwned<BIO> text(BIO_new(BIO_s_mem()));
    (void)X509_NAME_print_ex(text.get(), X509_get_subject_name(certificate), 0,
                             XN_FLAG_RFC2253 & ~static_cast<unsigned long>(ASN1_STRFLGS_ESC_MSB));
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(text.get(), &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}

/// A certificate for other uses, such as a web server's, signs no packages.
bool MaySign(X509* certificate) {
    constexpr std::uint32_t kKeyUses = KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION;
    constexpr std::uint32_t kExtendedUses = XKU_CODE_SIGN | XKU_SMIME | XKU_ANYEKU;
    return (X509_get_key_usage(certificate) & kKeyUses) != 0 &&
           (X509_get_extended_key_usage(certificate) & kExtendedUses) != 0;
}

/// @return empty, or why the chain from the certificate to one that is trusted is not complete
std::string CheckChain(X509_STORE* store, X509* certificate, STACK_OF(X509) * others) {
    const OpenSslOwned<X509_STORE_CTX> context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), store, certificate, others) != 1) {
        return LastOpenSslError();
    }
    X509_VERIFY_PARAM* const rules = X509_STORE_CTX_get0_param(context.get());
    X509_VERIFY_PARAM_set_auth_level(rules, kSecurityLevel);
    if (X509_verify_cert(context.get()) == 1) {
        return "";
    }
    return X509_verify_cert_error_string(X509_STORE_CTX_get_error(context.get()));
}

}  // namespace

PackageSignature::PackageSignature(std::string authorities)
    : mAuthorities(std::move(authorities)) {}

PackageSignature::Verdict PackageSignature::Verify(const std::string& signature,
                                                   const std::string& path) {
    mSigners.clear();
    ERR_clear_error();
    const OpenSslOwned<BIO> bytes(
        BIO_new_mem_buf(signature.data(), static_cast<int>(signature.size())));
    const OpenSslOwned<CMS_ContentInfo> message(d2i_CMS_bio(bytes.get(), nullptr));
    if (!message || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) {
        return Judge(Verdict::kNotASignature, "not a CMS signature");
    }
    const OpenSslOwned<X509_STORE> store(X509_STORE_new());
    const bool loaded = mAuthorities.empty()
                            ? X509_STORE_set_default_paths(store.get()) == 1
                            : X509_STORE_load_file(store.get(), mAuthorities.c_str()) == 1;
    if (!mAuthorities.empty()) {
        // Whoever names a certificate means it, though it be no root.
        (void)X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN);
    }
    const OpenSslOwned<BIO> content(BIO_new_file(path.c_str(), "rb"));
    if (!content) {
        return Judge(Verdict::kWrong, LastOpenSslError());
    }
    ERR_clear_error();
    if (sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(message.get())) < 1 ||
        CMS_verify(message.get(), nullptr, nullptr, content.get(), nullptr,
                   CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) != 1) {
        return Judge(Verdict::kWrong, LastOpenSslError());
    }
    const OpenSslOwned<STACK_OF(X509), ListFreer> signers(CMS_get0_signers(message.get()));
    const OpenSslOwned<STACK_OF(X509)> others(CMS_get1_certs(message.get()));
    std::string reason;
    for (int index = 0; index < sk_X509_num(signers.get()); ++index) {
        X509* const signer = sk_X509_value(signers.get(), index);
        mSigners += (mSigners.empty() ? "" : "; ") + NameOf(signer);
        if (reason.empty()) {
            reason = !loaded            ? "cannot read the trusted certificates"
                     : !MaySign(signer) ? "the certificate may not be used to sign packages"
                                        : CheckChain(store.get(), signer, others.get());
        }
    }
    return reason.empty() ? Judge(Verdict::kTrusted, "") : Judge(Verdict::kUntrusted, reason);
}

PackageSignature::Verdict PackageSignature::Judge(Verdict verdict, const std::string& reason) {
    mReason = reason;
    return verdict;
}
