#ifndef DIGEST_H
#define DIGEST_H

#include <string>
#include <string_view>

// Digest authentication for the SIP stack, with MD5 and SHA-256, each also with "-sess". It answers the
// strongest of several challenges. The stack's own has only MD5, and accepts no colon in a user name or
// password and no quotation mark in a user name.

// Installs it in place of the stack's own. Call it before the stack makes its first agent.
void installDigest();

// The credentials for nua_authenticate(), for a realm that is quoted as in the challenge.
std::string digestCredentials(std::string_view quotedRealm, std::string_view user, std::string_view password);

struct DigestQuestion
{
    std::string algorithm; // empty when the challenge names none
    std::string realm;
    std::string nonce;
    std::string method;
    std::string uri;
    // Empty for a challenge without "qop".
    std::string clientNonce;
    std::string count; // eight hexadecimal digits
};

// The response, in lower-case hexadecimal digits. Empty for an unknown algorithm.
std::string digestResponse(const DigestQuestion& question, std::string_view user, std::string_view password);

#endif
