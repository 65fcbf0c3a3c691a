// Elliptic curves: a key takes less than a millisecond, so each host can have its own. MIT licence.
#include "tlsidentity.h"

#include <atomic>
#include <cstdio>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace loopback
{
namespace
{

constexpr long kDayS = 24 * 60 * 60;
constexpr long kLifeS = 365 * kDayS;

void Check(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(std::string("OpenSSL: ") + what);
}

struct Wish {
    std::string name;      // common name
    std::string hostNames; // for subjectAltName, empty for an authority
    long validFromS = -kDayS;
    long validToS = kLifeS;
};

void AddExtension(X509* certificate, X509* issuer, int id, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
    Check(extension != nullptr, "extension");
    const int added = X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
    Check(added == 1, "extension");
}

void SetNames(X509* certificate, X509* issuer, const std::string& name)
{
    X509_NAME* subject = X509_get_subject_name(certificate);
    // The common name holds 64 letters at most; a client looks at the alternative name.
    const std::string text = name.substr(0, 64);
    Check(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(text.data()),
                                     static_cast<int>(text.size()), -1, 0) == 1,
          "name");
    Check(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1, "issuer");
}

// With no issuer, an authority that signs itself.
KeyAndCertificate Make(const Wish& wish, const KeyAndCertificate* issuer)
{
    static std::atomic<long> serial{1};
    KeyAndCertificate made{KeyPtr(EVP_EC_gen("P-256")), CertificatePtr(X509_new())};
    Check(made.key && made.certificate, "key");
    X509* certificate = made.certificate.get();
    X509* signer = issuer ? issuer->certificate.get() : certificate;
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate), wish.validFromS);
    X509_gmtime_adj(X509_getm_notAfter(certificate), wish.validToS);
    X509_set_pubkey(certificate, made.key.get());
    SetNames(certificate, signer, wish.name);
    AddExtension(certificate, signer, NID_subject_key_identifier, "hash");
    if (issuer) {
        AddExtension(certificate, signer, NID_authority_key_identifier, "keyid");
        AddExtension(certificate, signer, NID_subject_alt_name, wish.hostNames);
        AddExtension(certificate, signer, NID_ext_key_usage, "serverAuth");
    } else {
        AddExtension(certificate, signer, NID_basic_constraints, "critical,CA:TRUE");
        AddExtension(certificate, signer, NID_key_usage, "critical,keyCertSign");
    }
    EVP_PKEY* signingKey = issuer ? issuer->key.get() : made.key.get();
    Check(X509_sign(certificate, signingKey, EVP_sha256()) > 0, "signature");
    return made;
}

Wish ServerWish(const std::string& host, Certificate kind)
{
    Wish wish{host, "DNS:" + host};
    if (kind == Certificate::kExpired) {
        wish.validFromS = -3 * kDayS;
        wish.validToS = -kDayS;
    } else if (kind == Certificate::kNotYetValid) {
        wish.validFromS = 2 * kDayS;
    } else if (kind == Certificate::kWrongHost) {
        wish = {"somebody-else.invalid", "DNS:somebody-else.invalid"};
    }
    return wish;
}

ContextPtr MakeContext(const KeyAndCertificate& server)
{
    ContextPtr context(SSL_CTX_new(TLS_server_method()));
    Check(context != nullptr, "context");
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    Check(SSL_CTX_use_certificate(context.get(), server.certificate.get()) == 1, "certificate");
    Check(SSL_CTX_use_PrivateKey(context.get(), server.key.get()) == 1, "private key");
    return context;
}

} // namespace

TlsIdentity::TlsIdentity()
    : m_authority(Make({"Loopback test authority", {}}, nullptr)),
      m_stranger(Make({"Loopback untrusted authority", {}}, nullptr))
{
}

void TlsIdentity::WriteAuthority(const std::string& path) const
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    const bool opened = file != nullptr;
    const bool written = opened && PEM_write_X509(file, m_authority.certificate.get()) == 1;
    const bool closed = opened && std::fclose(file) == 0;
    if (!written || !closed)
        throw std::runtime_error("cannot write " + path);
}

SSL_CTX* TlsIdentity::ContextFor(const std::string& host, Certificate kind)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    ContextPtr& context = m_contexts[{host, kind}];
    if (!context)
        context =
            MakeContext(Make(ServerWish(host, kind), kind == Certificate::kUntrusted ? &m_stranger : &m_authority));
    return context.get();
}

} // namespace loopback
