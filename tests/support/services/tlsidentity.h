// A throw-away certificate authority and the server certificates that it signs, made at the start. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_TLSIDENTITY_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_TLSIDENTITY_H

#include <map>
#include <memory>
#include <mutex>
#include <openssl/ssl.h>
#include <string>
#include <utility>

#include "services.h"

namespace loopback
{

struct OpenSslDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, OpenSslDeleter>;
using CertificatePtr = std::unique_ptr<X509, OpenSslDeleter>;
using ContextPtr = std::unique_ptr<SSL_CTX, OpenSslDeleter>;

// A key with the certificate that belongs to it.
struct KeyAndCertificate {
    KeyPtr key;
    CertificatePtr certificate;
};

// Keys live in memory alone. Any thread; throws std::runtime_error when OpenSSL refuses.
class TlsIdentity
{
public:
    TlsIdentity();
    void WriteAuthority(const std::string& path) const; // the trusted CA's certificate in PEM
    // Server side of TLS for the host. Made once for each host and kind; owned by this object.
    SSL_CTX* ContextFor(const std::string& host, Certificate kind);

private:
    KeyAndCertificate m_authority;
    KeyAndCertificate m_stranger; // a CA that nobody trusts
    std::mutex m_lock;
    std::map<std::pair<std::string, Certificate>, ContextPtr> m_contexts; // guarded by m_lock
};

} // namespace loopback

#endif
