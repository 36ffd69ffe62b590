// The stack's releases before 1.13 shut a TLS connection down, and never free it: 50 KB. So this takes the
// place of the function by which they shut it down.
#include <dlfcn.h>
#include <openssl/bio.h>
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
    return result;
}
