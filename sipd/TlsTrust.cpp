// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "TlsTrust.h"

#include "Log.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <strings.h>
#include <unistd.h>
#include <utility>

namespace {

// A directory, from which the TLS library reads only the certificates that it needs. Reading all of them from
// one file takes tens of milliseconds.
constexpr char SYSTEM_CERTIFICATES[] = "/etc/ssl/certs";

constexpr int MOST_INTERMEDIATES = 8;

TlsTrust* bindingTrust = nullptr;

std::string withoutFinalDot(std::string host)
{
    if (host.ends_with('.'))
        host.pop_back();
    return host;
}

bool isIpAddress(const std::string& host)
{
    in6_addr address;
    return inet_pton(AF_INET, host.c_str(), &address) == 1 ||
           inet_pton(AF_INET6, host.c_str(), &address) == 1;
}

int trustIndex()
{
    static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
    return index;
}

std::shared_ptr<X509_STORE> loadAuthorities(const std::string& caFile)
{
    std::shared_ptr<X509_STORE> store(X509_STORE_new(), X509_STORE_free);
    if (caFile.empty()) {
        X509_STORE_load_path(store.get(), SYSTEM_CERTIFICATES);
        if (access(SYSTEM_CERTIFICATES, R_OK) != 0)
            ORMU_LOG(ORMU_LEVEL_ERROR, "no server is reached by TLS: no certificates in %s",
                     SYSTEM_CERTIFICATES);
    } else if (X509_STORE_load_file(store.get(), caFile.c_str()) != 1) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "no server is reached by TLS: no certificates in %s", caFile.c_str());
    }
    ERR_clear_error();
    return store;
}

// RFC 5922: an entry of that kind names a SIP domain.
bool hasSipUri(const X509* certificate, const std::string& host)
{
    const std::shared_ptr<GENERAL_NAMES> names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)),
        GENERAL_NAMES_free);
    const std::string wanted = "sip:" + host;
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* const name = sk_GENERAL_NAME_value(names.get(), i);
        if (name->type != GEN_URI)
            continue;
        const ASN1_IA5STRING* const uri = name->d.uniformResourceIdentifier;
        const std::string text(reinterpret_cast<const char*>(ASN1_STRING_get0_data(uri)),
                               static_cast<size_t>(ASN1_STRING_length(uri)));
        if (text.size() == wanted.size() && strcasecmp(text.c_str(), wanted.c_str()) == 0)
            return true;
    }
    return false;
}

bool isFor(X509* certificate, const std::string& host)
{
    return isIpAddress(host) ? X509_check_ip_asc(certificate, host.c_str(), 0) == 1
                             : X509_check_host(certificate, host.c_str(), host.size(),
                                               X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS, nullptr) == 1 ||
                                   hasSipUri(certificate, host);
}

// Called for each certificate of the chain, the server's own last.
int verifyCertificate(int isValid, X509_STORE_CTX* verification)
{
    const auto* const connection = static_cast<const SSL*>(
        X509_STORE_CTX_get_ex_data(verification, SSL_get_ex_data_X509_STORE_CTX_idx()));
    const TlsTrust* const trust = TlsTrust::of(connection);
    if (isValid == 0 || trust == nullptr)
        return 0;
    if (X509_STORE_CTX_get_error_depth(verification) > 0 ||
        isFor(X509_STORE_CTX_get_current_cert(verification), trust->host()))
        return 1;
    X509_STORE_CTX_set_error(verification, X509_V_ERR_HOSTNAME_MISMATCH);
    return 0;
}

std::string certificateProblem(long problem)
{
    switch (problem) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return "its certificate has expired";
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return "its certificate is not yet valid";
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        return "its certificate is self-signed";
    case X509_V_ERR_HOSTNAME_MISMATCH:
        return "its certificate is for another name";
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        return "its certificate is not from a trusted authority";
    default:
        return std::string("its certificate is not valid: ") + X509_verify_cert_error_string(problem);
    }
}

// Looks at the library's errors of a handshake that has just failed, and leaves them there.
std::string reasonOf(const SSL* connection, int sslError, int systemError)
{
    const long problem = SSL_get_verify_result(connection);
    if (problem != X509_V_OK)
        return certificateProblem(problem);
    const char* const known = sslError == SSL_ERROR_SSL ? ERR_reason_error_string(ERR_peek_error()) : nullptr;
    if (known != nullptr)
        return std::string("the TLS handshake failed: ") + known;
    return std::string("the TLS handshake failed: ") +
           (systemError != 0 ? std::strerror(systemError) : "the server closed the connection");
}

template <class Function>
Function* originalOf(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

TlsTrust::TlsTrust(Clock& clock, std::string host, const std::string& caFile, OnFailed onFailed)
    : host_(withoutFinalDot(std::move(host))), onFailed_(std::move(onFailed)),
      authorities_(loadAuthorities(caFile)), failure_(clock.makeTimer([this] { onFailed_(reason_); }))
{
}

TlsTrust::~TlsTrust()
{
    for (const auto& context : contexts_)
        SSL_CTX_set_ex_data(context.get(), trustIndex(), nullptr);
}

TlsTrust::Binding::Binding(TlsTrust& trust)
{
    bindingTrust = &trust;
}

TlsTrust::Binding::~Binding()
{
    bindingTrust = nullptr;
}

void TlsTrust::bindContext(SSL_CTX* context)
{
    if (bindingTrust == nullptr || context == nullptr)
        return;
    SSL_CTX_up_ref(context);
    bindingTrust->contexts_.emplace_back(context, SSL_CTX_free);
    SSL_CTX_set_ex_data(context, trustIndex(), bindingTrust);
}

TlsTrust* TlsTrust::of(const SSL* connection)
{
    return static_cast<TlsTrust*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), trustIndex()));
}

void TlsTrust::prepare(SSL* connection) const
{
    SSL_set_min_proto_version(connection, TLS1_2_VERSION);
    SSL_set_cipher_list(connection, "DEFAULT");
    if (!isIpAddress(host_))
        SSL_set_tlsext_host_name(connection, host_.c_str());
    SSL_set1_verify_cert_store(connection, authorities_.get());
    SSL_set_verify_depth(connection, MOST_INTERMEDIATES);
    SSL_set_verify(connection, SSL_VERIFY_PEER, verifyCertificate);
}

void TlsTrust::fail(const std::string& reason)
{
    reason_ = reason;
    failure_->set(std::chrono::milliseconds(1)); // the stack is in the middle of something
}

// These replace the functions of the TLS library for the SIP stack.

extern "C" SSL_CTX* SSL_CTX_new(const SSL_METHOD* method)
{
    static auto* const original = originalOf<SSL_CTX*(const SSL_METHOD*)>("SSL_CTX_new");
    SSL_CTX* const context = original(method);
    TlsTrust::bindContext(context);
    return context;
}

extern "C" int SSL_connect(SSL* connection)
{
    static auto* const original = originalOf<int(SSL*)>("SSL_connect");
    TlsTrust* const trust = TlsTrust::of(connection);
    if (trust == nullptr)
        return original(connection);
    if (SSL_in_before(connection) == 1)
        trust->prepare(connection);
    ERR_clear_error();
    errno = 0;
    const int result = original(connection);
    const int systemError = errno;
    const int error = SSL_get_error(connection, result);
    if (error == SSL_ERROR_SSL || error == SSL_ERROR_SYSCALL || error == SSL_ERROR_ZERO_RETURN)
        trust->fail(reasonOf(connection, error, systemError));
    errno = systemError;
    return result;
}

// The stack would copy the names in the certificate, and never free them.
extern "C" X509* SSL_get1_peer_certificate(const SSL* connection)
{
    static auto* const original = originalOf<X509*(const SSL*)>("SSL_get1_peer_certificate");
    return TlsTrust::of(connection) != nullptr ? nullptr : original(connection);
}
