// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// The stack's release 1.12.11devel shuts a TLS connection down, but never frees its 50 KB. So this replaces
// the TLS library's function, and frees the connection too.
#include <dlfcn.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

extern "C" int SSL_shutdown(SSL* connection)
{
    static const auto shutdown = reinterpret_cast<int (*)(SSL*)>(dlsym(RTLD_NEXT, "SSL_shutdown"));
    const int result = shutdown(connection);
    // The stack still frees the SSL_CTX and the BIO itself after this call: give it a reference to each.
    SSL_CTX_up_ref(SSL_get_SSL_CTX(connection));
    if (BIO* const bio = SSL_get_rbio(connection))
        BIO_up_ref(bio);
    SSL_free(connection);
    // During a handshake it fails. Another connection would take the error for its own.
    ERR_clear_error();
    return result;
}
