#include <service/TLSContext.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace korvel::service {

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

constexpr long lifetimeSeconds = 30L * 24 * 3600;

void require(bool worked, const char* what) {
    if (!worked) throw std::runtime_error(std::string("TLS: ") + what);
}

void addExtension(X509* certificate, X509* issuer, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, kind, value), &X509_EXTENSION_free);
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, value);
}

/// Named, dated and numbered, with `key` in it; extensions and signature are still to come.
Certificate blankCertificate(EVP_PKEY* key, const char* name) {
    Certificate certificate(X509_new(), &X509_free);
    require(certificate != nullptr, "no certificate");
    X509_set_version(certificate.get(), X509_VERSION_3);
    std::uint32_t serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serial);
    // An hour back: machines whose clock is a little behind trust it too.
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), lifetimeSeconds);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    return certificate;
}

Certificate makeAuthority(EVP_PKEY* key) {
    Certificate authority = blankCertificate(key, "Korvel development authority");
    X509* raw = authority.get();
    X509_set_issuer_name(raw, X509_get_subject_name(raw));
    addExtension(raw, raw, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    addExtension(raw, raw, NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(raw, raw, NID_subject_key_identifier, "hash");
    require(X509_sign(raw, key, EVP_sha256()) > 0, "the authority cannot be signed");
    return authority;
}

Certificate issue(EVP_PKEY* key, X509* authority, EVP_PKEY* authorityKey) {
    Certificate certificate = blankCertificate(key, "localhost");
    X509* raw = certificate.get();
    X509_set_issuer_name(raw, X509_get_subject_name(authority));
    addExtension(raw, authority, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(raw, authority, NID_key_usage, "critical,digitalSignature");
    addExtension(raw, authority, NID_ext_key_usage, "serverAuth");
    addExtension(raw, authority, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
    addExtension(raw, authority, NID_authority_key_identifier, "keyid");
    require(X509_sign(raw, authorityKey, EVP_sha256()) > 0, "the certificate cannot be signed");
    return certificate;
}

std::filesystem::path writePEM(X509* certificate) {
    std::string folder =
        (std::filesystem::temp_directory_path() / "korvel-service-XXXXXX").string();
    require(mkdtemp(folder.data()) != nullptr, "no temporary folder");
    std::filesystem::path path = std::filesystem::path(folder) / "ca.pem";
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "w"),
                                                                  &std::fclose);
    require(file && PEM_write_X509(file.get(), certificate) == 1, "the CA file cannot be written");
    return path;
}

}  // namespace

TLSContext::TLSContext() : context_(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free) {
    const Key authorityKey(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    require(context_ && authorityKey && key, "no keys");
    const Certificate authority = makeAuthority(authorityKey.get());
    const Certificate certificate = issue(key.get(), authority.get(), authorityKey.get());
    require(SSL_CTX_use_certificate(context_.get(), certificate.get()) == 1 &&
                SSL_CTX_use_PrivateKey(context_.get(), key.get()) == 1,
            "the certificate is refused");
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_2_VERSION);
    caFile_ = writePEM(authority.get());
}

TLSContext::~TLSContext() {
    std::error_code ignored;
    std::filesystem::remove_all(caFile_.parent_path(), ignored);
}

}  // namespace korvel::service
