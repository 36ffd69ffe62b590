// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

// The test frees what the stack frees: its context, and the connection's BIO and share of the context.
TEST(TlsEnd, LeavesNoErrorDuringAHandshake)
{
    SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
    SSL* const connection = SSL_new(context);
    BIO* const transport = BIO_new(BIO_s_mem());
    SSL_set_bio(connection, transport, transport);
    EXPECT_EQ(SSL_connect(connection), -1) << "nobody answers";
    EXPECT_EQ(SSL_shutdown(connection), -1);
    EXPECT_EQ(ERR_peek_error(), 0U);
    BIO_free(transport);
    SSL_CTX_free(context); // the connection's share
    SSL_CTX_free(context);
}
