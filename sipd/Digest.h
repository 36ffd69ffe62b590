#ifndef DIGEST_H
#define DIGEST_H

#include <string>
#include <string_view>

// Digest authentication for the SIP stack, in the place of the stack's own, which knows MD5 alone, and takes
// no user name or password with a colon and no user name with a quotation mark. MD5 and SHA-256 are known,
// with "-sess" and without; of several challenges the strongest is answered.

// Once, before the stack makes its first agent.
void installDigest();

// What the stack is to be given to answer a challenge of that realm, which is quoted as in the challenge.
std::string digestCredentials(std::string_view quotedRealm, std::string_view user, std::string_view password);

struct DigestQuestion
{
    std::string algorithm; // empty when the challenge names none
    std::string realm;
    std::string nonce;
    std::string method;
    std::string uri;
    // Of a challenge with a "qop"; empty without.
    std::string clientNonce;
    std::string count; // eight hexadecimal digits
};

// The response to it: lower-case hexadecimal digits; empty when the algorithm is not known.
std::string digestResponse(const DigestQuestion& question, std::string_view user, std::string_view password);

#endif
