#pragma once

#include <memory>
#include <string>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

/// Frees what libcrypto gives to its caller.
struct OpenSslFreer {
    void operator()(BIO* stream) const { BIO_free_all(stream); }
    void operator()(CMS_ContentInfo* message) const { CMS_ContentInfo_free(message); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
    void operator()(STACK_OF(X509) * certificates) const {
        sk_X509_pop_free(certificates, X509_free);
    }
};

template <typename Type, typename Deleter = OpenSslFreer>
using OpenSslOwned = std::unique_ptr<Type, Deleter>;

/// The reason of libcrypto's last failure on this thread.
inline std::string LastOpenSslError() {
    const unsigned long code = ERR_peek_last_error();
    const char* const reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
    return reason != nullptr ? reason : "unknown reason";
}
