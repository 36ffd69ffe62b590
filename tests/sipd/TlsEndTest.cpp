#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

// With what the stack does of it: it lets go of the context and of the connection's transport, no more.
TEST(TlsEnd, InTheMiddleOfAHandshakeLeavesNoErrorThatAnotherConnectionWouldTakeForItsOwn)
{
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    SSL* const connection = SSL_new(context);
    BIO* const transport = BIO_new(BIO_s_mem());
    SSL_set_bio(connection, transport, transport);
    EXPECT_EQ(SSL_connect(connection), -1) << "nobody answers";
    EXPECT_EQ(SSL_shutdown(connection), -1);
    EXPECT_EQ(ERR_peek_error(), 0U);
    BIO_free(transport);
    SSL_CTX_free(context);
}
