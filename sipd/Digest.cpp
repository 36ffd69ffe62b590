#define SOFIA_EXTEND_AUTH_CLIENT 1
#include "Digest.h"

#include "ORMU_Diagnostics.h"

#include <sofia-sip/auth_client.h>
#include <sofia-sip/auth_client_plugin.h>
#include <sofia-sip/auth_digest.h>
#include <sofia-sip/msg_header.h>
#include <sofia-sip/url.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <openssl/evp.h>
#include <optional>
#include <sys/random.h>

namespace {

struct Algorithm
{
    const char* name;
    const EVP_MD* (*hash)();
    bool isSession;
};

// Weaker ones first.
constexpr std::array ALGORITHMS = {Algorithm{"MD5", EVP_md5, false}, Algorithm{"MD5-sess", EVP_md5, true},
                                   Algorithm{"SHA-256", EVP_sha256, false},
                                   Algorithm{"SHA-256-sess", EVP_sha256, true}};

// The index of a challenge's algorithm. A challenge without a name means the first.
std::optional<size_t> findAlgorithm(const char* name)
{
    if (name == nullptr || *name == '\0')
        return 0;
    for (size_t i = 0; i < ALGORITHMS.size(); ++i) {
        if (strcasecmp(name, ALGORITHMS[i].name) == 0)
            return i;
    }
    return std::nullopt;
}

std::string toHex(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {digits[byte >> 4U], digits[byte & 0xfU]};
    }
    return text;
}

std::string fromHex(std::string_view digits)
{
    std::string bytes;
    for (; digits.size() >= 2; digits.remove_prefix(2)) {
        unsigned char byte = 0;
        ORMU_ASSERT(std::from_chars(digits.data(), digits.data() + 2, byte, 16).ec == std::errc());
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string hashOf(const Algorithm& algorithm, const std::string& text)
{
    std::array<char, EVP_MAX_MD_SIZE> hash{};
    unsigned int size = 0;
    ORMU_ASSERT(EVP_Digest(text.data(), text.size(), reinterpret_cast<unsigned char*>(hash.data()), &size,
                           algorithm.hash(), nullptr) == 1);
    return toHex({hash.data(), size});
}

std::string quotedString(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

std::string randomNonce()
{
    std::array<char, 16> bytes{};
    ORMU_ASSERT(getrandom(bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return toHex({bytes.data(), bytes.size()});
}

// The stack's record of one realm that asks for credentials, followed by our own members. The stack allocates
// it filled with zeros, and frees it with all strings of its home.
struct DigestClient
{
    auth_client_t stack;
    size_t algorithm;
    bool isNamed; // the challenge named its algorithm
    bool hasQop;
    const char* realm;
    const char* nonce; // null before the first challenge
    const char* opaque;
    unsigned int count; // answers with that nonce
};

DigestClient& clientOf(auth_client_t* stack)
{
    return *reinterpret_cast<DigestClient*>(stack);
}

// Results for the stack.
constexpr int FAILED = -1;
constexpr int IGNORED = 1;
constexpr int MUST_BE_ANSWERED = 2;

// Replaces each line fold, which may also stand in a quoted string, by a blank.
std::string unfolded(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    std::string result;
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\r\n"), text.size());
        result += text.substr(0, end);
        text.remove_prefix(end);
        if (text.empty())
            break;
        result.erase(result.find_last_not_of(blanks) + 1);
        result += ' ';
        text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    }
    return result;
}

void replaceText(su_home_t* home, const char*& kept, const char* text)
{
    su_free(home, const_cast<char*>(kept));
    kept = text == nullptr ? nullptr : su_strdup(home, unfolded(text).c_str());
}

bool isUsable(const auth_challenge_t& challenge)
{
    return challenge.ac_realm != nullptr && challenge.ac_nonce != nullptr &&
           (challenge.ac_qop == nullptr || challenge.ac_auth != 0);
}

void adoptChallenge(DigestClient& client, const auth_challenge_t& challenge, size_t algorithm)
{
    su_home_t* const home = client.stack.ca_home;
    client.algorithm = algorithm;
    client.isNamed = challenge.ac_algorithm != nullptr;
    client.hasQop = challenge.ac_qop != nullptr;
    client.count = 0;
    replaceText(home, client.realm, challenge.ac_realm);
    replaceText(home, client.nonce, challenge.ac_nonce);
    replaceText(home, client.opaque, challenge.ac_opaque);
}

// Adopts a challenge that is not weaker than the former.
int considerChallenge(DigestClient& client, const auth_challenge_t& challenge)
{
    const auto algorithm = findAlgorithm(challenge.ac_algorithm);
    const bool isFirst = client.nonce == nullptr;
    if (!algorithm || !isUsable(challenge) || (!isFirst && *algorithm < client.algorithm))
        return IGNORED;
    const bool isStronger = *algorithm > client.algorithm;
    adoptChallenge(client, challenge, *algorithm);
    return isFirst || isStronger || challenge.ac_stale != 0 ? MUST_BE_ANSWERED : IGNORED;
}

int takeChallenge(auth_client_t* stack, const msg_auth_t* header)
{
    su_home_t* const home = stack->ca_home;
    auth_challenge_t challenge = {};
    challenge.ac_size = sizeof(challenge);
    if (auth_digest_challenge_get(home, &challenge, header->au_params) < 0)
        return FAILED;
    const int result = considerChallenge(clientOf(stack), challenge);
    auth_digest_challenge_free_params(home, &challenge);
    return result;
}

std::string headerOf(DigestClient& client, const char* method, const std::string& uri)
{
    DigestQuestion question{client.isNamed ? ALGORITHMS[client.algorithm].name : "",
                            client.realm,
                            client.nonce,
                            method,
                            uri,
                            {},
                            {}};
    ++client.count;
    if (client.hasQop || ALGORITHMS[client.algorithm].isSession)
        question.clientNonce = randomNonce();
    if (client.hasQop) {
        std::array<char, 9> count{};
        std::snprintf(count.data(), count.size(), "%08x", client.count);
        question.count = count.data();
    }
    const std::string user = fromHex(client.stack.ca_user);
    std::string header = "Digest username=" + quotedString(user) + ", realm=" + quotedString(question.realm) +
                         ", nonce=" + quotedString(question.nonce) + ", uri=" + quotedString(uri) +
                         ", response=\"" + digestResponse(question, user, fromHex(client.stack.ca_pass)) +
                         '"';
    if (client.isNamed)
        header += ", algorithm=" + question.algorithm;
    if (!question.clientNonce.empty())
        header += ", cnonce=\"" + question.clientNonce + '"';
    if (client.opaque != nullptr)
        header += ", opaque=" + quotedString(client.opaque);
    if (client.hasQop)
        header += ", qop=auth, nc=" + question.count;
    return header;
}

int authorize(auth_client_t* stack, su_home_t* home, const char* method, const url_t* url,
              const msg_payload_t* /*body*/, msg_header_t** header)
{
    DigestClient& client = clientOf(stack);
    if (client.nonce == nullptr || stack->ca_user == nullptr || stack->ca_pass == nullptr)
        return FAILED;
    char* const uri = url_as_string(home, url);
    if (uri == nullptr)
        return FAILED;
    *header = msg_header_make(home, stack->ca_credential_class, headerOf(client, method, uri).c_str());
    su_free(home, uri);
    return *header != nullptr ? 0 : FAILED;
}

int clearCredentials(auth_client_t* stack)
{
    stack->ca_clear = 1;
    return 1;
}

auth_client_plugin_t pluginNamed(const char* name)
{
    auth_client_plugin_t plugin = {};
    plugin.auc_plugin_size = sizeof(plugin);
    plugin.auc_size = sizeof(DigestClient);
    plugin.auc_name = name;
    plugin.auc_challenge = takeChallenge;
    plugin.auc_authorize = authorize;
    plugin.auc_clear = clearCredentials;
    return plugin;
}

} // namespace

void installDigest()
{
    static const auth_client_plugin_t placeholder = pluginNamed("x-none");
    static const auth_client_plugin_t digest = pluginNamed("Digest");
    // The stack replaces the first plugin of another name, not that of the same name. So the placeholder
    // replaces the stack's Digest, and ours replaces the placeholder.
    auc_register_plugin(&placeholder);
    auc_register_plugin(&digest);
}

std::string digestCredentials(std::string_view quotedRealm, std::string_view user, std::string_view password)
{
    // In hexadecimal digits, since the stack splits at colons.
    return "Digest:" + std::string(quotedRealm) + ':' + toHex(user) + ':' + toHex(password);
}

std::string digestResponse(const DigestQuestion& question, std::string_view user, std::string_view password)
{
    const auto index = findAlgorithm(question.algorithm.c_str());
    if (!index)
        return {};
    const Algorithm& algorithm = ALGORITHMS[*index];
    std::string secret =
        hashOf(algorithm, std::string(user) + ':' + question.realm + ':' + std::string(password));
    if (algorithm.isSession)
        secret = hashOf(algorithm, secret + ':' + question.nonce + ':' + question.clientNonce);
    const std::string request = hashOf(algorithm, question.method + ':' + question.uri);
    std::string nonce = question.nonce;
    if (!question.count.empty())
        nonce += ':' + question.count + ':' + question.clientNonce + ":auth";
    return hashOf(algorithm, secret + ':' + nonce + ':' + request);
}
