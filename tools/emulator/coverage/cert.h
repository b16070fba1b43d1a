#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace pelmor::emulator {

struct X509Free {
    void operator()(X509* cert) const { X509_free(cert); }
};
struct PkeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

// A self-signed certificate and its key, made in memory when the coverage site starts, so that nothing
// secret lies in the repository and no file has to be found at run time.
struct Certificate {
    std::unique_ptr<X509, X509Free> cert;
    std::unique_ptr<EVP_PKEY, PkeyFree> key;
};

// A P-256 key and a certificate valid for a day, naming host (a DNS name or an IP address, without a
// port), localhost and 127.0.0.1. Null members and a reason in error on failure.
Certificate make_self_signed_certificate(const std::string& host, std::string& error);

}  // namespace pelmor::emulator
