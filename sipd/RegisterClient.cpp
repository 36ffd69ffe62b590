// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RegisterClient.h"

#include "Log.h"

#include <sofia-sip/msg_addr.h>
#include <sofia-sip/nta.h>
#include <sofia-sip/nta_stateless.h>
#include <sofia-sip/nta_tag.h>
#include <sofia-sip/nta_tport.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_protos.h>
#include <sofia-sip/sip_status.h>
#include <sofia-sip/sip_tag.h>
#include <sofia-sip/tport.h>
#include <sofia-sip/tport_tag.h>
#include <sofia-sip/url.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <netinet/tcp.h>
#include <string_view>
#include <strings.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

// How long a NAT may be left without a packet of a connection, and how often and long its end is asked then.
constexpr int CONNECTION_SILENCE_S = 100;
constexpr int CONNECTION_PROBES = 3;
constexpr int CONNECTION_PROBE_S = 10;

constexpr size_t LONGEST_PHRASE = 100;

struct MessageRelease
{
    void operator()(msg_t* message) const { msg_destroy(message); }
};
using MessageHolder = std::unique_ptr<msg_t, MessageRelease>;

std::string escaped(std::string_view user)
{
    constexpr std::string_view plain = "-_.!~*'()";
    std::string result;
    for (const char c : user) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && (std::isalnum(byte) != 0 || plain.find(c) != std::string_view::npos)) {
            result += c;
            continue;
        }
        constexpr std::string_view digits = "0123456789ABCDEF";
        result += {'%', digits[byte >> 4U], digits[byte & 0xfU]};
    }
    return result;
}

std::string withoutBrackets(const std::string& host)
{
    return host.starts_with('[') && host.ends_with(']') ? host.substr(1, host.size() - 2) : host;
}

std::string printable(const char* text)
{
    std::string result(std::string_view(text == nullptr ? "" : text).substr(0, LONGEST_PHRASE));
    std::ranges::replace_if(
        result, [](char c) { return c < ' ' || c > '~'; }, '?');
    return result;
}

std::optional<ServerAddress> addressOf(const std::string& host, const char* port)
{
    uint16_t number = 0;
    const char* const end = port + std::strlen(port);
    const auto [parsed, error] = std::from_chars(port, end, number);
    if (error != std::errc() || parsed != end || number == 0)
        return std::nullopt;
    return ServerAddress::parse(withoutBrackets(host), number);
}

// A rejection of the profile, whatever it says.
bool isRejection(int status)
{
    return status == 401 || status == 403 || status == 404 || status == 407;
}

// The stack itself makes up answers 408 and 503 for a server that it cannot reach.
_SIPD_APP_ACK_E ackOf(int status, bool isFromServer)
{
    if (!isFromServer)
        return status == 503 || status == 408 ? SIPD_ACK_CONNECT_FAILED : SIPD_ACK_FAILED;
    if (isRejection(status))
        return SIPD_ACK_INCORRECT_PROFILE;
    return status == 503 ? SIPD_ACK_SERVICE_UNAVAILABLE : SIPD_ACK_FAILED;
}

// The SIP URIs that a redirection names, best first.
std::vector<std::string> redirectsOf(const sip_t* sip)
{
    std::vector<std::pair<double, std::string>> found;
    su_home_t home = SU_HOME_INIT(home);
    su_home_init(&home);
    for (const sip_contact_t* contact = sip->sip_contact; contact != nullptr; contact = contact->m_next) {
        const auto type = contact->m_url->url_type;
        if (type == url_sip || type == url_sips)
            found.emplace_back(contact->m_q == nullptr ? 1.0 : std::atof(contact->m_q),
                               url_as_string(&home, contact->m_url));
    }
    su_home_deinit(&home);
    std::ranges::stable_sort(found, [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<std::string> uris;
    uris.reserve(found.size());
    for (auto& [quality, uri] : found)
        uris.push_back(std::move(uri));
    return uris;
}

Outcome outcomeOf(int status, const sip_t* sip)
{
    const bool isFromServer = sip != nullptr && sip->sip_status != nullptr && nta_sip_is_internal(sip) == 0;
    Outcome outcome{.ack = ackOf(status, isFromServer)};
    if (!isFromServer)
        return outcome;
    outcome.status = status;
    outcome.words = std::to_string(status) + ' ' + printable(sip->sip_status->st_phrase);
    if (status == 301 || status == 302 || status == 305)
        outcome.redirects = redirectsOf(sip);
    if (sip->sip_retry_after != nullptr)
        outcome.retryAfter = std::chrono::seconds(sip->sip_retry_after->af_delta);
    return outcome;
}

// The values of all header fields of that kind.
std::vector<std::string> challengesOf(const msg_auth_t* first)
{
    std::vector<std::string> values;
    su_home_t home = SU_HOME_INIT(home);
    su_home_init(&home);
    for (const msg_auth_t* challenge = first; challenge != nullptr; challenge = challenge->au_next) {
        if (const char* const value =
                sip_header_as_string(&home, reinterpret_cast<const sip_header_t*>(challenge)))
            values.emplace_back(value);
    }
    su_home_deinit(&home);
    return values;
}

// The user, host and port of a SIP URI, comparable: no escapes, no default port left out.
struct ContactPlace
{
    std::string user;
    std::string host;
    std::string port;

    explicit ContactPlace(const url_t* url)
        : user(url->url_user == nullptr ? "" : url->url_user),
          host(withoutBrackets(url->url_host == nullptr ? "" : url->url_host)),
          port(url_port(url) == nullptr ? "" : url_port(url))
    {
        user.resize(url_unescape_to(user.data(), user.data(), user.size()));
    }
};

// Whether the contact is that of the user at the address, or at the one that the server has seen instead:
// some servers store that one. Case and parameters do not matter, since servers change both.
bool isBoundAt(const sip_contact_t* contact, const std::string& user, const ServerAddress& place)
{
    const ContactPlace found(contact->m_url);
    const auto address = addressOf(found.host, found.port.c_str());
    return strcasecmp(found.user.c_str(), user.c_str()) == 0 && address && address->isSamePlace(place);
}

// Calls take with each socket of this process of that type. The stack does not tell its sockets.
template <class Take>
void forEachSocket(int type, const Take& take)
{
    std::error_code problem;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", problem)) {
        const int fd = std::atoi(entry.path().filename().c_str());
        int found = 0;
        socklen_t size = sizeof(found);
        if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &found, &size) == 0 && found == type)
            take(fd);
    }
}

using NameOfSocket = int (*)(int, sockaddr*, socklen_t*);

std::optional<ServerAddress> addressOfSocket(int fd, NameOfSocket name)
{
    su_sockaddr_t address = {};
    socklen_t size = sizeof(address);
    if (name(fd, &address.su_sa, &size) != 0)
        return std::nullopt;
    if (address.su_family == AF_INET)
        return ServerAddress(address.su_sin);
    return address.su_family == AF_INET6 ? std::optional(ServerAddress(address.su_sin6)) : std::nullopt;
}

} // namespace

RegisterClient::RegisterClient(EventLoop& loop, const SipSettings& settings, const SipProfile& profile)
    : loop_(loop), settings_(settings), profile_(profile), user_(escaped(profile.user)), callId_(randomHex()),
      tag_(randomHex()), digest_(profile.user, profile.password),
      failure_(loop.makeTimer([this] { finish({.outcome = {.ack = SIPD_ACK_FAILED}}); }))
{
}

RegisterClient::~RegisterClient()
{
    dropConnection();
    if (agent_ != nullptr)
        nta_agent_destroy(agent_);
}

_SIPD_APP_ACK_E RegisterClient::open(const ServerAddress& server)
{
    server_ = server;
    const std::string localHost = server.localUriHost();
    if (localHost.empty())
        return SIPD_ACK_CONNECT_FAILED;
    if (!createAgent(localHost))
        return SIPD_ACK_FAILED;
    const sip_via_t* const via = nta_agent_via(agent_);
    const auto local =
        via == nullptr || via->v_port == nullptr ? std::nullopt : addressOf(localHost, via->v_port);
    if (!local)
        return SIPD_ACK_FAILED;
    local_ = local;
    moveContact(local);
    return SIPD_ACK_SUCCESS;
}

bool RegisterClient::createAgent(const std::string& localHost)
{
    const bool tls = transport() == Transport::Tls;
    // The stack has TLS for this scheme only.
    const std::string url =
        tls ? "sips:" + localHost + ":*" : "sip:" + localHost + ":*;transport=" + nameOf(transport());
    std::optional<TlsTrust::Binding> binding;
    if (tls) {
        trust_.emplace(loop_, profile_.nextHop().host, settings_.caFile,
                       [this](const std::string& reason) { handleFailedTls(reason); });
        binding.emplace(*trust_);
    }
    const auto onMessage = [](nta_agent_magic_t* client, nta_agent_t*, msg_t* message, sip_t* sip) {
        reinterpret_cast<RegisterClient*>(client)->handleRequest(message, sip);
        return 0;
    };
    // A repeated answer finds no transaction after 1 ms, and is discarded. To wait 5 seconds for it would be
    // one more wake-up.
    agent_ = nta_agent_create(loop_.root(), URL_STRING_MAKE(url.c_str()), onMessage,
                              reinterpret_cast<nta_agent_magic_t*>(this), NTATAG_CLIENT_RPORT(1),
                              NTATAG_SIP_T4(1), NTATAG_TCP_RPORT(1), NTATAG_TLS_RPORT(1),
                              TAG_IF(tls, TPTAG_CERTIFICATE(TlsTrust::NO_DIRECTORY)),
                              TAG_IF(tls, TPTAG_TLS_VERIFY_POLICY(TPTLS_VERIFY_NONE)), // trust_ verifies
                              TAG_END());
    ORMU_ASSERT(!tls || agent_ == nullptr || trust_->isBound());
    return agent_ != nullptr;
}

void RegisterClient::moveContact(const std::optional<ServerAddress>& place)
{
    place_ = place.value_or(*local_);
    contact_ = "sip:" + user_ + '@' + place_->uriHost() + ':' + std::to_string(place_->port());
    if (transport() != Transport::Udp)
        contact_ += std::string(";transport=") + nameOf(transport());
}

bool RegisterClient::isContactAt(const std::optional<ServerAddress>& place) const
{
    return place_->isSamePlace(place.value_or(*local_));
}

void RegisterClient::send(std::chrono::seconds lifetime, const std::vector<std::string>& formerContacts,
                          OnAnswer onAnswer)
{
    lifetime_ = lifetime.count() == 0 ? lifetime : std::max(lifetime, shortestLifetime_);
    formerContacts_ = formerContacts;
    onAnswer_ = std::move(onAnswer);
    digest_.beginRequest();
    transmit();
}

void RegisterClient::transmit()
{
    const RegistrarAddress& nextHop = profile_.nextHop();
    // TLS verifies the name; packets go to the address in maddr.
    const std::string route = "sip:" + nextHop.uriHost() + ':' + std::to_string(server_->port()) +
                              ";transport=" + nameOf(nextHop.transport) +
                              (nextHop.numeric ? "" : ";maddr=" + server_->uriHost());
    const auto onResponse = [](nta_outgoing_magic_t* client, nta_outgoing_t*, const sip_t* sip) {
        reinterpret_cast<RegisterClient*>(client)->handleResponse(sip);
        return 0;
    };
    MessageHolder message(nta_msg_create(agent_, 0));
    if (message && addHeaders(message.get()))
        request_ = nta_outgoing_mcreate(agent_, onResponse, reinterpret_cast<nta_outgoing_magic_t*>(this),
                                        URL_STRING_MAKE(route.c_str()), message.get(), TAG_END());
    if (request_ != nullptr)
        static_cast<void>(message.release()); // it is the request's now
    else
        failure_->set(std::chrono::milliseconds(1));
}

bool RegisterClient::addHeaders(msg_s* message)
{
    const RegistrarAddress& target = profile_.target();
    const std::string uri = "sip:" + target.uriHost() + ':' + std::to_string(target.port) +
                            ";transport=" + nameOf(target.transport);
    const std::string identity = "<sip:" + user_ + '@' + profile_.registrar.uriHost() + '>';
    std::string contacts = '<' + contact_ + '>';
    for (const std::string& former : formerContacts_) {
        if (former != contact_) // the port may have been given again
            contacts += ", <" + former + ">;expires=0";
    }
    const std::string from = identity + ";tag=" + tag_;
    const std::string sequence = std::to_string(++sequence_) + " REGISTER";
    const std::string lifetime = std::to_string(lifetime_.count());

    sip_t* const sip = sip_object(message);
    sip_request_t* const line =
        sip_request_create(msg_home(message), SIP_METHOD_REGISTER, URL_STRING_MAKE(uri.c_str()), nullptr);
    if (line == nullptr || sip_header_insert(message, sip, reinterpret_cast<sip_header_t*>(line)) < 0)
        return false;
    if (sip_add_tl(message, sip, SIPTAG_MAX_FORWARDS_STR("70"), SIPTAG_FROM_STR(from.c_str()),
                   SIPTAG_TO_STR(identity.c_str()), SIPTAG_CALL_ID_STR(callId_.c_str()),
                   SIPTAG_CSEQ_STR(sequence.c_str()), SIPTAG_CONTACT_STR(contacts.c_str()),
                   SIPTAG_EXPIRES_STR(lifetime.c_str()), SIPTAG_USER_AGENT_STR(settings_.product.c_str()),
                   SIPTAG_ALLOW_STR("OPTIONS"), TAG_END()) < 0)
        return false;
    for (const DigestClient::Header& header : digest_.headers("REGISTER", uri)) {
        msg_hclass_t* const kind =
            header.isForProxy ? sip_proxy_authorization_class : sip_authorization_class;
        if (sip_add_make(message, sip, kind, header.value.c_str()) < 0)
            return false;
    }
    return true;
}

void RegisterClient::handleResponse(const sip_t* sip)
{
    const int status = nta_outgoing_status(request_);
    if (status < 200)
        return;
    const MessageHolder response(nta_outgoing_getresponse(request_)); // sip is in it
    if (status < 300)
        watchConnection();
    nta_outgoing_destroy(std::exchange(request_, nullptr));
    RegisterAnswer answer{.outcome = outcomeOf(status, sip)};
    if (answer.outcome.status != 0) {
        const bool isChallenge = status == 401 || status == 407;
        if ((isChallenge && answerChallenge(sip, answer.outcome)) || (status == 423 && askForMore(sip))) {
            transmit();
            return;
        }
        if (status < 300)
            readSuccess(sip, answer);
    }
    finish(answer);
}

void RegisterClient::handleFailedTls(const std::string& reason)
{
    if (request_ == nullptr)
        return;
    nta_outgoing_destroy(std::exchange(request_, nullptr));
    finish({.outcome = {.ack = SIPD_ACK_CONNECT_FAILED, .words = reason}});
}

// False when there is nothing to answer with.
bool RegisterClient::answerChallenge(const sip_t* sip, Outcome& outcome)
{
    switch (digest_.takeChallenges(challengesOf(sip->sip_www_authenticate),
                                   challengesOf(sip->sip_proxy_authenticate))) {
    case DigestClient::Verdict::Answerable:
        return true;
    case DigestClient::Verdict::Unknown:
        outcome.ack = SIPD_ACK_FAILED;
        outcome.words += ", by an unknown kind of authentication";
        return false;
    case DigestClient::Verdict::Refused:
        break;
    }
    return false;
}

// The server wants to be asked less often.
bool RegisterClient::askForMore(const sip_t* sip)
{
    constexpr std::chrono::seconds longest{7 * 24 * 3600};
    if (sip->sip_min_expires == nullptr || lifetime_.count() == 0)
        return false;
    const std::chrono::seconds wanted(sip->sip_min_expires->me_delta);
    if (wanted <= lifetime_ || wanted > longest)
        return false;
    shortestLifetime_ = lifetime_ = wanted;
    return true;
}

// A 2xx names all contacts that are registered now. Without any it is believed: some small registrars name
// none.
void RegisterClient::readSuccess(const sip_t* sip, RegisterAnswer& answer) const
{
    answer.seen = seenIn(sip);
    answer.outcome.ack = SIPD_ACK_SUCCESS;
    if (lifetime_.count() == 0)
        return;
    answer.granted =
        sip->sip_expires != nullptr ? std::chrono::seconds(sip->sip_expires->ex_delta) : lifetime_;
    if (sip->sip_contact == nullptr && answer.granted.count() > 0)
        return;
    for (const sip_contact_t* contact = sip->sip_contact; contact != nullptr; contact = contact->m_next) {
        if (!isBoundAt(contact, profile_.user, *place_) &&
            !(answer.seen && isBoundAt(contact, profile_.user, *answer.seen)))
            continue;
        if (contact->m_expires != nullptr)
            answer.granted = std::chrono::seconds(std::strtoul(contact->m_expires, nullptr, 10));
        if (answer.granted.count() > 0)
            return;
    }
    answer.outcome.ack = SIPD_ACK_FAILED;
    answer.outcome.words += ", but without this phone's contact";
}

// The port of a connection always differs: the server sees the near end of the connection, not the port that
// listens.
std::optional<ServerAddress> RegisterClient::seenIn(const sip_t* sip) const
{
    const sip_via_t* const via = sip->sip_via;
    const std::string host = via->v_received != nullptr ? via->v_received : local_->uriHost();
    const bool hasPort = via->v_rport != nullptr && *via->v_rport != '\0';
    const auto seen = addressOf(host, hasPort ? via->v_rport : std::to_string(local_->port()).c_str());
    if (!seen || seen->uriHost() == "0.0.0.0")
        return std::nullopt;
    const bool isUdp = transport() == Transport::Udp;
    const bool isOwn = seen->isSameHost(*local_) && (!isUdp || seen->port() == local_->port());
    return isOwn ? std::nullopt : seen;
}

void RegisterClient::finish(const RegisterAnswer& answer)
{
    // The next request may replace it.
    const OnAnswer onAnswer = onAnswer_;
    onAnswer(answer);
}

void RegisterClient::handleRequest(msg_s* message, const sip_t* sip)
{
    if (sip->sip_request == nullptr || sip->sip_request->rq_method == sip_method_ack ||
        !isFromServer(message)) {
        nta_msg_discard(agent_, message);
        return;
    }
    const bool isOptions = sip->sip_request->rq_method == sip_method_options;
    nta_msg_treply(agent_, message, isOptions ? 200 : 405,
                   isOptions ? sip_200_OK : sip_405_Method_not_allowed, SIPTAG_ALLOW_STR("OPTIONS"),
                   TAG_END());
}

bool RegisterClient::isFromServer(msg_s* message) const
{
    const su_sockaddr_t* const from = msg_addr(message);
    if (from->su_family == AF_INET)
        return server_->isSamePlace(ServerAddress(from->su_sin));
    return from->su_family == AF_INET6 && server_->isSamePlace(ServerAddress(from->su_sin6));
}

// Learns when the server closes the connection.
void RegisterClient::watchConnection()
{
    dropConnection();
    tport_t* const transport = nta_outgoing_transport(request_);
    if (transport == nullptr)
        return;
    connection_ = transport;
    if (tport_is_reliable(transport) == 0) {
        dropConnection();
        return;
    }
    const auto onClosed = [](tp_stack_t*, tp_client_t* client, tport_t*, msg_t*, int) {
        auto* const self = reinterpret_cast<RegisterClient*>(client);
        self->dropConnection();
        if (self->onClosed_)
            self->onClosed_();
    };
    tport_set_params(transport, TPTAG_SDWN_ERROR(1), TAG_END());
    watch_ = tport_pend(transport, nullptr, onClosed, reinterpret_cast<tp_client_t*>(this));
}

void RegisterClient::dropConnection()
{
    if (watch_ > 0)
        tport_release(connection_, watch_, nullptr, nullptr, reinterpret_cast<tp_client_t*>(this), 0);
    watch_ = 0;
    if (connection_ != nullptr)
        tport_unref(std::exchange(connection_, nullptr));
}

// Two line ends, which servers ignore. On a connection the kernel sends segments of its own, without this
// process.
void RegisterClient::keepOpen() const
{
    constexpr std::string_view nothing = "\r\n\r\n";
    if (transport() == Transport::Udp) {
        forEachSocket(SOCK_DGRAM, [this, nothing](int fd) {
            const auto own = addressOfSocket(fd, getsockname);
            if (own && own->isSamePlace(*local_))
                server_->sendFrom(fd, nothing);
        });
        return;
    }
    forEachSocket(SOCK_STREAM, [this](int fd) {
        const auto peer = addressOfSocket(fd, getpeername);
        if (!peer || !peer->isSamePlace(*server_))
            return;
        const auto set = [fd](int level, int option, int value) {
            setsockopt(fd, level, option, &value, sizeof(value));
        };
        set(SOL_SOCKET, SO_KEEPALIVE, 1);
        set(IPPROTO_TCP, TCP_KEEPIDLE, CONNECTION_SILENCE_S);
        set(IPPROTO_TCP, TCP_KEEPINTVL, CONNECTION_PROBE_S);
        set(IPPROTO_TCP, TCP_KEEPCNT, CONNECTION_PROBES);
    });
}
