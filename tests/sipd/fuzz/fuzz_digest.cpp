// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Feeds a server's challenges, which the SIP stack has parsed as in the daemon, to the answering of them, and
// reads the answers as a server would.
//
// An input is, with a zero byte between them: a user name, a password, and the headers of one or more
// responses that ask for authentication, one after the other.

#include "Digest.h"
#include "Require.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sofia-sip/msg_parser.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_parser.h>

// How many answers all inputs together led to, by their algorithms, for those who replay them.
std::map<std::string, int> answersByAlgorithm;

namespace {

constexpr char registrar[] = "sip:example.com:5060;transport=udp";

std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = 0; end != std::string_view::npos; start = end + 1) {
        end = text.find('\0', start);
        parts.emplace_back(text.substr(start, end - start));
    }
    return parts;
}

// As a profile may have it.
bool isUserName(const std::string& user)
{
    return !user.empty() &&
           std::none_of(user.begin(), user.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

struct MessageDeleter
{
    void operator()(msg_t* message) const { msg_destroy(message); }
};
using Message = std::unique_ptr<msg_t, MessageDeleter>;

Message messageOf(const std::string& text)
{
    return Message(msg_make(sip_default_mclass(), 0, text.data(), static_cast<ssize_t>(text.size())));
}

// The parameters of "Digest name=value, name="value"". They are separated and quoted as the standard has it.
class Parameters
{
public:
    explicit Parameters(std::string_view text) : rest_(text)
    {
        take("Digest ");
        for (takeOne(); !rest_.empty(); takeOne())
            take(", ");
    }

    std::string operator[](const char* name) const
    {
        const auto found = values_.find(name);
        return found == values_.end() ? std::string() : found->second;
    }
    bool has(const char* name) const { return values_.contains(name); }

private:
    void take(std::string_view prefix)
    {
        require(rest_.starts_with(prefix));
        rest_.remove_prefix(prefix.size());
    }
    void takeOne()
    {
        const size_t length = rest_.find('=');
        require(length != std::string_view::npos);
        const std::string name(rest_.substr(0, length));
        rest_.remove_prefix(length + 1);
        require(values_.emplace(name, rest_.starts_with('"') ? quoted() : token()).second);
    }
    std::string token()
    {
        const size_t length = std::min(rest_.find(','), rest_.size());
        const std::string value(rest_.substr(0, length));
        require(!value.empty() && value.find_first_of(" \t\"\\=") == std::string::npos);
        rest_.remove_prefix(length);
        return value;
    }
    std::string quoted()
    {
        std::string value;
        size_t i = 1;
        for (; i < rest_.size() && rest_[i] != '"'; ++i) {
            if (rest_[i] == '\\')
                ++i;
            require(i < rest_.size());
            value += rest_[i];
        }
        require(i < rest_.size());
        rest_.remove_prefix(i + 1);
        return value;
    }

    std::string_view rest_;
    std::map<std::string, std::string> values_;
};

std::vector<std::string> valuesOf(const msg_auth_t* first)
{
    std::vector<std::string> values;
    su_home_t home = SU_HOME_INIT(home);
    su_home_init(&home);
    for (const msg_auth_t* header = first; header != nullptr; header = header->au_next) {
        if (const char* const value =
                sip_header_as_string(&home, reinterpret_cast<const sip_header_t*>(header)))
            values.emplace_back(value);
    }
    su_home_deinit(&home);
    return values;
}

// One account at one server, from challenge to challenge.
class Session
{
public:
    Session(const std::string& user, const std::string& password)
        : user_(user), password_(password), client_(user, password)
    {
    }

    void takeResponse(const std::string& headers)
    {
        const Message response = messageOf("SIP/2.0 401 Unauthorized\r\n" + headers + "\r\n\r\n");
        const sip_t* const sip = response ? sip_object(response.get()) : nullptr;
        if (sip == nullptr)
            return;
        take(valuesOf(sip->sip_www_authenticate), valuesOf(sip->sip_proxy_authenticate));
        // As it came, without the stack.
        take({headers}, {});
    }

private:
    void take(const std::vector<std::string>& fromServer, const std::vector<std::string>& fromProxies)
    {
        if (client_.takeChallenges(fromServer, fromProxies) != DigestClient::Verdict::Answerable)
            return;
        // The same nonce twice: a refresh comes without a new challenge.
        for (int i = 0; i < 2; ++i) {
            client_.beginRequest();
            for (const DigestClient::Header& header : client_.headers("REGISTER", registrar))
                checkAnswer(header.value);
        }
    }

    void checkAnswer(const std::string& header)
    {
        require(header.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos);
        const Parameters answer(header);
        require(answer["username"] == user_ && answer["uri"] == registrar);
        require(answer.has("realm") && answer.has("nonce") && answer.has("qop") == answer.has("nc"));
        const std::string qop = answer.has("qop") ? answer["qop"] : "auth";
        const DigestQuestion question = {answer["algorithm"], answer["realm"],  answer["nonce"], "REGISTER",
                                         registrar,           answer["cnonce"], answer["nc"],    qop};
        if (answer.has("qop"))
            require((qop == "auth" || qop == "auth-int") && answer["nc"].size() == 8 &&
                    !answer["cnonce"].empty());
        const std::string response = digestResponse(question, user_, password_);
        require(!response.empty() && answer["response"] == response);
        ++answersByAlgorithm[question.algorithm];
    }

    const std::string user_;
    const std::string password_;
    DigestClient client_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto parts = split({reinterpret_cast<const char*>(data), size});
    if (parts.size() < 3 || !isUserName(parts[0]))
        return 0;
    Session session(parts[0], parts[1]);
    constexpr size_t mostParts = 5;
    for (size_t i = 2; i < std::min(parts.size(), mostParts); ++i)
        session.takeResponse(parts[i]);
    return 0;
}
