// Feeds a server's challenges to the answering of them, through the SIP stack as the daemon does, and reads
// the answers as a server would.
//
// An input is, with a zero byte between them: a user name, a password, and the headers of one or more
// responses that ask for authentication, one after the other.

#include "Digest.h"
#include "Require.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <strings.h>
#include <vector>

#include <sofia-sip/auth_client.h>
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

// One account at one server, from challenge to challenge.
class Session
{
public:
    Session(const std::string& user, const std::string& password) : user_(user), password_(password)
    {
        home_.suh_size = sizeof(home_);
        su_home_init(&home_);
    }
    ~Session() { su_home_deinit(&home_); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void takeResponse(const std::string& headers)
    {
        const Message response = messageOf("SIP/2.0 401 Unauthorized\r\n" + headers + "\r\n\r\n");
        const sip_t* const sip = response ? sip_object(response.get()) : nullptr;
        if (sip == nullptr)
            return;
        takeChallenges(sip->sip_www_authenticate, sip_authorization_class);
        takeChallenges(sip->sip_proxy_authenticate, sip_proxy_authorization_class);
        // The same nonce twice: a refresh comes without a new challenge.
        answer();
        answer();
    }

private:
    void takeChallenges(const msg_auth_t* first, msg_hclass_t* credentialClass)
    {
        if (first == nullptr || auc_challenge(&clients_, &home_, first, credentialClass) < 0)
            return;
        for (const msg_auth_t* challenge = first; challenge != nullptr; challenge = challenge->au_next) {
            const char* const realm = msg_header_find_param(challenge->au_common, "realm=");
            if (strcasecmp(challenge->au_scheme, "Digest") == 0 && realm != nullptr)
                auc_credentials(&clients_, &home_, digestCredentials(realm, user_, password_).c_str());
        }
    }

    void answer()
    {
        if (auc_has_authorization(&clients_) <= 0)
            return;
        const Message request = messageOf("REGISTER " + std::string(registrar) + " SIP/2.0\r\n\r\n");
        sip_t* const sip = sip_object(request.get());
        if (auc_authorization(&clients_, request.get(), reinterpret_cast<msg_pub_t*>(sip), "REGISTER",
                              sip->sip_request->rq_url, nullptr) <= 0)
            return;
        size_t size = 0;
        const char* const text =
            msg_as_string(&home_, request.get(), reinterpret_cast<msg_pub_t*>(sip), 0, &size);
        require(text != nullptr);
        checkRequest({text, size});
    }

    void checkRequest(std::string_view text)
    {
        std::set<std::string> nonces;
        while (!text.empty()) {
            const size_t end = text.find("\r\n");
            require(end != std::string_view::npos);
            const std::string_view line = text.substr(0, end);
            text.remove_prefix(end + 2);
            require(line.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos);
            const size_t colon = std::min(line.find(": "), line.size());
            const std::string_view name = line.substr(0, colon);
            if (name == "Authorization" || name == "Proxy-Authorization")
                checkAnswer(Parameters(line.substr(colon + 2)));
            else
                require(line.empty() || name == "Content-Length" ||
                        line == "REGISTER " + std::string(registrar) + " SIP/2.0");
        }
    }

    void checkAnswer(const Parameters& answer)
    {
        require(answer["username"] == user_ && answer["uri"] == registrar);
        require(answer.has("realm") && answer.has("nonce") && answer.has("qop") == answer.has("nc"));
        const DigestQuestion question = {answer["algorithm"], answer["realm"],  answer["nonce"], "REGISTER",
                                         registrar,           answer["cnonce"], answer["nc"]};
        if (answer.has("qop"))
            require(answer["qop"] == "auth" && answer["nc"].size() == 8 && !answer["cnonce"].empty());
        const std::string response = digestResponse(question, user_, password_);
        require(!response.empty() && answer["response"] == response);
        ++answersByAlgorithm[question.algorithm];
    }

    const std::string user_;
    const std::string password_;
    su_home_t home_ = {};
    auth_client_t* clients_ = nullptr;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool isInstalled = (installDigest(), true);
    require(isInstalled);
    const auto parts = split({reinterpret_cast<const char*>(data), size});
    if (parts.size() < 3 || !isUserName(parts[0]))
        return 0;
    Session session(parts[0], parts[1]);
    constexpr size_t mostParts = 5;
    for (size_t i = 2; i < std::min(parts.size(), mostParts); ++i)
        session.takeResponse(parts[i]);
    return 0;
}
