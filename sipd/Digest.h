// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DIGEST_H
#define DIGEST_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Digest authentication as RFC 7616 and RFC 8760 have it for SIP: MD5, SHA-256 and SHA-512-256, each also
// with
// "-sess"; without qop, with "auth" and with "auth-int". Nothing here depends on the SIP stack, and all of it
// works on the text of header fields.

// 32 random hexadecimal digits.
std::string randomHex();

// One challenge of a server or proxy.
struct DigestChallenge
{
    std::string scheme; // "Digest", in any case
    std::string algorithm = {};
    std::string realm = {};
    std::string nonce = {};
    std::string opaque = {};
    std::string qop = {}; // the server's list
    bool hasRealm = false;
    bool hasNonce = false;
    bool hasOpaque = false;
    bool isStale = false;
};

// The challenges in the value of a WWW-Authenticate or Proxy-Authenticate header field. Parameters may have
// any order, blanks, line folds and quotation marks or none. Never fails: what makes no sense is left out.
std::vector<DigestChallenge> parseChallenges(std::string_view value);

struct DigestQuestion
{
    std::string algorithm; // empty when the challenge names none
    std::string realm;
    std::string nonce;
    std::string method;
    std::string uri;
    // Empty for a challenge without "qop".
    std::string clientNonce;
    std::string count;        // eight hexadecimal digits
    std::string qop = "auth"; // or "auth-int"; the request has no body
};

// The response, in lower-case hexadecimal digits. Empty for an unknown algorithm.
std::string digestResponse(const DigestQuestion& question, std::string_view user, std::string_view password);

// Answers the challenges to one account's requests, from request to request.
class DigestClient
{
public:
    enum class Verdict {
        Answerable, // send the request again, with the headers
        Refused,    // the server does not accept these credentials, or asks for none that could be given
        Unknown     // no challenge has a known algorithm and protection
    };
    struct Header
    {
        bool isForProxy;
        std::string value; // of Authorization or Proxy-Authorization
    };

    DigestClient(std::string user, std::string password)
        : user_(std::move(user)), password_(std::move(password))
    {
    }

    // A new request, not the repetition of a challenged one: its first challenge refuses nothing, since a
    // nonce from an earlier request may have run out.
    void beginRequest();
    // Takes all challenges of an answer 401 or 407, the values of its header fields. Of each realm's the
    // strongest is answered.
    Verdict takeChallenges(const std::vector<std::string>& fromServer,
                           const std::vector<std::string>& fromProxies);
    // The headers for the next request. Each call counts as one request.
    std::vector<Header> headers(const std::string& method, const std::string& uri);

private:
    struct Answered
    {
        bool isForProxy;
        size_t algorithm;
        std::string qop; // the chosen one
        DigestChallenge challenge;
        unsigned int count = 0; // requests with that nonce
    };

    Verdict take(const std::vector<std::string>& values, bool isForProxy);
    bool refuses(const Answered& answer) const;
    std::string headerOf(Answered& answer, const std::string& method, const std::string& uri) const;

    const std::string user_;
    const std::string password_;
    std::vector<Answered> answers_;
    // The realms that have asked during this request.
    std::set<std::pair<bool, std::string>> asked_;
    int rounds_ = 0;
};

#endif
