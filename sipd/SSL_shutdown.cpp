// The stack's release 1.12.11devel shuts a TLS connection down, and never frees it: 50 KB. So this takes the
// place of the function by which it shuts it down.
#include <dlfcn.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

extern "C" int SSL_shutdown(SSL* connection)
{
    static const auto shutdown = reinterpret_cast<int (*)(SSL*)>(dlsym(RTLD_NEXT, "SSL_shutdown"));
    const int result = shutdown(connection);
    // What the connection shares in, the stack releases in its place right after this.
    SSL_CTX_up_ref(SSL_get_SSL_CTX(connection));
    if (BIO* const bio = SSL_get_rbio(connection))
        BIO_up_ref(bio);
    SSL_free(connection);
    // In the middle of a handshake it fails, and the next one to look would take the error for its own.
    ERR_clear_error();
    return result;
}
