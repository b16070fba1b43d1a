#include "emulator/coverage/cert.h"

#include <openssl/err.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <arpa/inet.h>

namespace pelmor::emulator {

namespace {

std::string openssl_error(const char* step) {
    char text[256] = {};
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    return std::string(step) + ": " + text;
}

bool is_ip_address(const std::string& host) {
    unsigned char bytes[16];
    return inet_pton(AF_INET, host.c_str(), bytes) == 1 || inet_pton(AF_INET6, host.c_str(), bytes) == 1;
}

std::string subject_alt_names(const std::string& host) {
    std::string names = "DNS:localhost,IP:127.0.0.1";
    if (!host.empty() && host != "localhost" && host != "127.0.0.1")
        names += (is_ip_address(host) ? ",IP:" : ",DNS:") + host;
    return names;
}

bool add_extension(X509* cert, int nid, const std::string& value) {
    X509V3_CTX ctx;
    X509V3_set_ctx_nodb(&ctx);
    X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value.c_str());
    if (!extension) return false;
    const bool added = X509_add_ext(cert, extension, -1) == 1;
    X509_EXTENSION_free(extension);
    return added;
}

}  // namespace

Certificate make_self_signed_certificate(const std::string& host, std::string& error) {
    Certificate made;
    std::unique_ptr<EVP_PKEY, PkeyFree> key(EVP_EC_gen("P-256"));
    if (!key) {
        error = openssl_error("key generation");
        return made;
    }
    std::unique_ptr<X509, X509Free> cert(X509_new());
    if (!cert) {
        error = openssl_error("certificate");
        return made;
    }
    unsigned char serial[8];
    RAND_bytes(serial, sizeof serial);
    serial[0] &= 0x7f;  // a positive serial number
    BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
    const bool serial_set = number && BN_to_ASN1_INTEGER(number, X509_get_serialNumber(cert.get()));
    BN_free(number);

    X509_NAME* name = X509_get_subject_name(cert.get());
    const std::string common_name = host.empty() ? "localhost" : host;
    const bool ok =
        serial_set && X509_set_version(cert.get(), 2) == 1 &&
        X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600) &&
        X509_gmtime_adj(X509_getm_notAfter(cert.get()), 24 * 3600) &&
        X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>("pelmor-emulator"), -1, -1, 0) &&
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>(common_name.c_str()), -1, -1, 0) &&
        X509_set_issuer_name(cert.get(), name) == 1 &&
        add_extension(cert.get(), NID_subject_alt_name, subject_alt_names(host)) &&
        add_extension(cert.get(), NID_basic_constraints, "critical,CA:FALSE") &&
        X509_set_pubkey(cert.get(), key.get()) == 1 && X509_sign(cert.get(), key.get(), EVP_sha256()) > 0;
    if (!ok) {
        error = openssl_error("certificate");
        return made;
    }
    made.cert = std::move(cert);
    made.key = std::move(key);
    return made;
}

}  // namespace pelmor::emulator
