// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Mutation.h"

#include <algorithm>
#include <array>

namespace {

size_t below(size_t limit, std::mt19937& random)
{
    return limit == 0 ? 0 : random() % limit;
}

template <class Choices>
std::string oneOf(const Choices& choices, std::mt19937& random)
{
    return choices[below(std::size(choices), random)];
}

// Answers in the place of the real one: the header lines that it gets besides those of the real one.
struct OtherAnswer
{
    const char* statusLine;
    const char* headers;
};

constexpr std::array OTHER_ANSWERS = {
    OtherAnswer{"SIP/2.0 302 Moved", "Contact: <sip:anna@127.0.0.1:9>;q=0.5, sip:127.0.0.1:10;q=1\r\n"},
    OtherAnswer{"SIP/2.0 305 Use Proxy", "Contact: \"A \\\" name\" <sip:[::1]:9;transport=tcp>\r\n"},
    OtherAnswer{"SIP/2.0 401 Unauthorized",
                "WWW-Authenticate: Digest realm=\"a\\\"b\", nonce=\"1\", qop=\"auth-int,auth\", "
                "algorithm=SHA-256, stale=TRUE\r\nProxy-Authenticate: Basic realm=x\r\n"},
    OtherAnswer{"SIP/2.0 423 Interval Too Brief", "Min-Expires: 4294967295\r\n"},
    OtherAnswer{"SIP/2.0 503 Service Unavailable", "Retry-After: 3 (soon);duration=18446744073709551616\r\n"},
    OtherAnswer{"SIP/2.0 200 OK", "Contact: *\r\nExpires: -1\r\nService-Route: <sip:x;lr>\r\n"},
    OtherAnswer{"SIP/2.0 600 Busy", "Warning: 399 \"\" \"\xff\"\r\n"},
    OtherAnswer{"SIP/2.0 100 Trying", ""},
};

constexpr std::array ODD_TEXTS = {"\r\n",
                                  "\r\n ",
                                  "\r\n\r\n",
                                  "\"",
                                  "\\",
                                  "<",
                                  ">",
                                  ";",
                                  ",",
                                  "=",
                                  "%",
                                  "%00",
                                  "*",
                                  "@@",
                                  "[::",
                                  "sip:",
                                  "SIP/2.0",
                                  "4294967296",
                                  "-1",
                                  "1e9",
                                  "99999999999999999999",
                                  ";received=",
                                  ";rport=",
                                  ";tag=",
                                  ";branch=",
                                  "expires",
                                  "\t",
                                  "\xff\xfe",
                                  "Via: ",
                                  "Contact: *",
                                  "CSeq: ",
                                  "Digest ,,,=",
                                  "realm=",
                                  "nonce=\"",
                                  "Content-Length: 99999\r\n"};

using Change = void (*)(std::string&, size_t at, std::mt19937&);

constexpr std::array CHANGES = std::to_array<Change>({
    [](std::string& text, size_t at, std::mt19937& random) { text[at] = static_cast<char>(random()); },
    [](std::string& text, size_t at, std::mt19937& random) { text.erase(at, 1 + below(20, random)); },
    [](std::string& text, size_t at, std::mt19937&) { text.erase(at); },
    [](std::string& text, size_t at, std::mt19937& random) { text.insert(at, oneOf(ODD_TEXTS, random)); },
    [](std::string& text, size_t at, std::mt19937& random) {
        text.insert(at, std::string(below(3000, random), static_cast<char>(random())));
    },
    [](std::string& text, size_t at, std::mt19937&) {
        text.insert(at, text.substr(at, text.find('\n', at) - at + 1));
    },
    [](std::string& text, size_t at, std::mt19937& random) {
        const size_t end = std::min(text.size(), at + below(30, random));
        std::shuffle(text.begin() + static_cast<std::ptrdiff_t>(at),
                     text.begin() + static_cast<std::ptrdiff_t>(end), random);
    },
    [](std::string& text, size_t at, std::mt19937& random) {
        const size_t digit = text.find_first_of("0123456789", at);
        if (digit != std::string::npos)
            text.replace(digit, 1, oneOf(ODD_TEXTS, random));
    },
});

std::string withOtherAnswer(const std::string& answer, const OtherAnswer& other)
{
    const size_t lineEnd = answer.find("\r\n");
    if (lineEnd == std::string::npos)
        return answer;
    return std::string(other.statusLine) + "\r\n" + other.headers + answer.substr(lineEnd + 2);
}

} // namespace

std::string mutated(const std::string& answer, std::mt19937& random)
{
    std::string result = answer;
    if (below(2, random) == 0)
        result = withOtherAnswer(answer, OTHER_ANSWERS[below(OTHER_ANSWERS.size(), random)]);
    for (size_t count = 1 + below(4, random); count > 0 && !result.empty(); --count)
        CHANGES[below(CHANGES.size(), random)](result, below(result.size(), random), random);
    return result;
}
