// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef TLSTRUST_H
#define TLSTRUST_H

#include "Clock.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct ssl_st;
struct ssl_ctx_st;
struct x509_store_st;

// What a TLS server must prove: that its certificate comes from a trusted authority, is valid today, and has
// an entry for the host. An entry is a DNS name, which may be "*.DOMAIN", an IP address or the URI
// "sip:HOST". Without any DNS entry the common name counts.
//
// The SIP stack sends no server name, compares no IP addresses, and is silent when a handshake fails. So this
// class does all that for the connections of an agent. TLS 1.2 and 1.3 only.
class TlsTrust
{
public:
    // Receives why a handshake failed: "its certificate has expired". Called from a timer of the clock.
    using OnFailed = std::function<void(const std::string& reason)>;

    // Reads the authorities from caFile, or looks them up in the system's directory when that is empty. host:
    // a name, or an IP address without brackets. Blocks while it reads caFile.
    TlsTrust(Clock& clock, std::string host, const std::string& caFile, OnFailed onFailed);
    ~TlsTrust();
    TlsTrust(const TlsTrust&) = delete;
    TlsTrust& operator=(const TlsTrust&) = delete;

    // Binds the TLS contexts that are made while it lives.
    class Binding
    {
    public:
        explicit Binding(TlsTrust& trust);
        ~Binding();
        Binding(const Binding&) = delete;
        Binding& operator=(const Binding&) = delete;
    };
    // Without a context the stack would make connections that nobody verifies.
    bool isBound() const { return !contexts_.empty(); }

    // For the stack, which would look for certificates in the user's home. It is no directory.
    static constexpr char NO_DIRECTORY[] = "/dev/null";

    // For the functions of the TLS library that are replaced.
    static void bindContext(ssl_ctx_st* context);
    static TlsTrust* of(const ssl_st* connection);
    void prepare(ssl_st* connection) const;
    void fail(const std::string& reason);
    const std::string& host() const { return host_; }

private:
    const std::string host_;
    const OnFailed onFailed_;
    const std::shared_ptr<x509_store_st> authorities_;
    const std::unique_ptr<Timer> failure_;
    std::string reason_;
    std::vector<std::shared_ptr<ssl_ctx_st>> contexts_;
};

#endif
