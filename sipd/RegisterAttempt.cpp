#include "RegisterAttempt.h"

#include "CertificateDirectory.h"
#include "Digest.h"
#include "Log.h"

#include <sofia-sip/msg_parser.h>
#include <sofia-sip/nta.h>
#include <sofia-sip/nta_tag.h>
#include <sofia-sip/nua.h>
#include <sofia-sip/nua_tag.h>
#include <sofia-sip/sip_protos.h>
#include <sofia-sip/sip_tag.h>
#include <sofia-sip/tport_tag.h>

#include <cctype>
#include <optional>
#include <string_view>
#include <strings.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds UNREGISTER_TIMEOUT{3000};

// The stack's TPTAG_TLS_VERSION bit for TLS 1.2. Later versions are always on.
constexpr unsigned int TLS_1_2 = 8;

// A directory, from which the TLS library reads only the certificates that it needs. Reading all of them from
// one file takes tens of milliseconds.
constexpr char SYSTEM_CERTIFICATES[] = "/etc/ssl/certs";

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

bool isRejection(int status)
{
    return status == 401 || status == 403 || status == 404 || status == 407;
}

// The stack itself makes up answers 408 and 503 for a server that it cannot reach.
_SIPD_APP_ACK_E ackOf(int status, const sip_t* sip)
{
    const bool fromServer = sip != nullptr && !nta_sip_is_internal(sip);
    if (isRejection(status))
        return SIPD_ACK_INCORRECT_PROFILE;
    if (status == 503)
        return fromServer ? SIPD_ACK_SERVICE_UNAVAILABLE : SIPD_ACK_CONNECT_FAILED;
    if (status == 408 && !fromServer)
        return SIPD_ACK_CONNECT_FAILED;
    return SIPD_ACK_FAILED;
}

Outcome outcomeOf(int status, const char* phrase, const sip_t* sip)
{
    Outcome outcome{.ack = ackOf(status, sip)};
    if (sip == nullptr || nta_sip_is_internal(sip) != 0)
        return outcome;
    outcome.status = status;
    outcome.words = std::to_string(status) + ' ';
    for (const char* c = phrase; c != nullptr && *c != '\0'; ++c)
        outcome.words += static_cast<unsigned char>(*c) < ' ' || *c == '\x7f' ? '?' : *c;
    return outcome;
}

} // namespace

RegisterAttempt::RegisterAttempt(EventLoop& loop, const SipSettings& settings, const SipProfile& profile,
                                 OnOutcome onOutcome)
    : loop_(loop), settings_(settings), profile_(profile), onOutcome_(std::move(onOutcome)),
      unregisterLimit_(loop.makeTimer([this] { close(); }))
{
}

RegisterAttempt::~RegisterAttempt()
{
    const EventLoop::Hold hold(loop_);
    if (agent_ != nullptr)
        nua_destroy(agent_);
}

void RegisterAttempt::handleEvent(int event, int status, const char* phrase, nua_handle_t* handle,
                                  const sip_t* sip)
{
    if (event == nua_r_shutdown) {
        if (status >= 200)
            setState(State::Gone);
        return;
    }
    if (handle == nullptr)
        return;
    if (handle != handle_) {
        // A request from outside, which the stack has answered, or the last event of a destroyed handle.
        if (nua_handle_magic(handle) == nullptr && event < nua_r_set_params)
            nua_handle_destroy(handle);
        return;
    }
    if (event == nua_r_register)
        handleRegisterAnswer(status, phrase, sip);
    else if (event == nua_r_unregister)
        handleUnregisterAnswer(status, sip);
    else if (event == nua_r_authenticate && status >= 300)
        fail({.ack = SIPD_ACK_FAILED});
}

_SIPD_APP_ACK_E RegisterAttempt::registerAt(const ServerAddress& server, std::chrono::milliseconds timeout,
                                            const std::vector<std::string>& /*formerContacts*/)
{
    const std::string localHost = server.localUriHost();
    if (localHost.empty())
        return SIPD_ACK_CONNECT_FAILED;
    createAgent(localHost, timeout);
    if (agent_ == nullptr)
        return SIPD_ACK_FAILED;
    sendRegister(server);
    setState(State::Registering);
    return SIPD_ACK_SUCCESS;
}

void RegisterAttempt::createAgent(const std::string& localHost, std::chrono::milliseconds timeout)
{
    const Transport transport = profile_.nextHop().transport;
    const bool tls = transport == Transport::Tls;
    // The stack has TLS for this scheme only.
    const std::string url =
        tls ? "sips:" + localHost + ":*" : "sip:" + localHost + ":*;transport=" + nameOf(transport);
    std::optional<CertificateDirectory> ownCertificates;
    if (tls && !settings_.caFile.empty())
        ownCertificates.emplace(settings_.caFile);
    const std::string trusted = ownCertificates ? ownCertificates->path() : SYSTEM_CERTIFICATES;
    if (tls && !ownCertificates && access(trusted.c_str(), R_OK) != 0)
        ORMU_LOG(ORMU_LEVEL_ERROR, "no server is reached by TLS: no certificates in %s", trusted.c_str());
    const auto onEvent = [](nua_event_t event, int answer, const char* phrase, nua_t*, nua_magic_t* attempt,
                            nua_handle_t* handle, nua_hmagic_t*, const sip_t* sip, tagi_t*) {
        reinterpret_cast<RegisterAttempt*>(attempt)->handleEvent(event, answer, phrase, handle, sip);
    };
    const EventLoop::Hold hold(loop_);
    agent_ = nua_create(loop_.root(), onEvent, reinterpret_cast<nua_magic_t*>(this), NUTAG_URL(url.c_str()),
                        NTATAG_SIP_T1X64(static_cast<unsigned>(timeout.count())), NUTAG_MAX_RETRY_AFTER(0),
                        NUTAG_OUTBOUND("no-outbound no-natify no-validate no-options-keepalive"),
                        NUTAG_KEEPALIVE(0), SIPTAG_ALLOW_STR("OPTIONS"),
                        TAG_IF(tls, NUTAG_CERTIFICATE_DIR(trusted.c_str())),
                        TAG_IF(tls, TPTAG_TLS_VERIFY_POLICY(TPTLS_VERIFY_SUBJECTS_OUT)),
                        TAG_IF(tls, TPTAG_TLS_VERSION(TLS_1_2)), TAG_END());
}

void RegisterAttempt::sendRegister(const ServerAddress& server)
{
    const RegistrarAddress& target = profile_.target();
    const RegistrarAddress& nextHop = profile_.nextHop();
    const std::string user = escaped(profile_.user);
    const std::string transport = std::string("transport=") + nameOf(nextHop.transport);
    const std::string identity = "<sip:" + user + '@' + profile_.registrar.uriHost() + '>';
    const std::string registrarUrl = "sip:" + target.uriHost() + ':' + std::to_string(target.port) +
                                     ";transport=" + nameOf(target.transport);
    // TLS verifies the name; packets go to the address in maddr.
    const std::string proxyUrl = "sip:" + nextHop.uriHost() + ':' + std::to_string(server.port()) + ';' +
                                 transport + (nextHop.numeric ? "" : ";maddr=" + server.uriHost());
    const bool udp = nextHop.transport == Transport::Udp;

    handle_ = nua_handle(agent_, reinterpret_cast<nua_hmagic_t*>(this), SIPTAG_TO_STR(identity.c_str()),
                         SIPTAG_FROM_STR(identity.c_str()), TAG_END());
    ORMU_ASSERT(handle_ != nullptr);
    nua_register(handle_, NUTAG_REGISTRAR(registrarUrl.c_str()), NUTAG_PROXY(proxyUrl.c_str()),
                 NUTAG_M_USERNAME(user.c_str()), TAG_IF(!udp, NUTAG_M_PARAMS(transport.c_str())),
                 SIPTAG_EXPIRES_STR(std::to_string(settings_.expires.count()).c_str()), TAG_END());
}

void RegisterAttempt::handleRegisterAnswer(int status, const char* phrase, const sip_t* sip)
{
    if (status < 200)
        return;
    if (state_ == State::Abandoned) {
        if (status < 300)
            unregister();
        else
            close();
        return;
    }
    if (state_ != State::Registering && state_ != State::Registered)
        return;
    if (status < 300)
        succeed();
    else if ((status != 401 && status != 407) || !authenticate(sip))
        fail(outcomeOf(status, phrase, sip));
}

// Answers the challenge. False when that is impossible or has failed before.
bool RegisterAttempt::authenticate(const sip_t* sip)
{
    if (sip == nullptr)
        return false;
    const msg_auth_t* challenge =
        sip->sip_www_authenticate != nullptr ? sip->sip_www_authenticate : sip->sip_proxy_authenticate;
    while (challenge != nullptr && strcasecmp(challenge->au_scheme, "Digest") != 0)
        challenge = challenge->au_next;
    const char* const realm =
        challenge != nullptr ? msg_header_find_param(challenge->au_common, "realm=") : nullptr;
    if (realm == nullptr || realm == answeredRealm_)
        return false;
    answeredRealm_ = realm;
    const std::string credentials = digestCredentials(realm, profile_.user, profile_.password);
    nua_authenticate(handle_, NUTAG_AUTH(credentials.c_str()), TAG_END());
    return true;
}

// The owner looks at the state between two steps.
void RegisterAttempt::setState(State state)
{
    state_ = state;
    loop_.wake();
}

void RegisterAttempt::succeed()
{
    if (state_ == State::Registered)
        return;
    setState(State::Registered);
    onOutcome_({.ack = SIPD_ACK_SUCCESS, .status = 200});
}

void RegisterAttempt::fail(const Outcome& outcome)
{
    if (state_ == State::Closing || state_ == State::Gone)
        return;
    const bool isWanted = state_ == State::Registering || state_ == State::Registered;
    close();
    if (isWanted)
        onOutcome_(outcome);
}

void RegisterAttempt::unregisterOrAbandon()
{
    if (state_ == State::Registering)
        setState(State::Abandoned);
    else if (state_ == State::Registered)
        unregister();
}

void RegisterAttempt::unregister()
{
    setState(State::Unregistering);
    unregisterLimit_->set(UNREGISTER_TIMEOUT);
    nua_unregister(handle_, TAG_END());
}

void RegisterAttempt::handleUnregisterAnswer(int status, const sip_t* sip)
{
    if (status < 200 || state_ != State::Unregistering)
        return;
    if ((status != 401 && status != 407) || !authenticate(sip))
        close();
}

void RegisterAttempt::close()
{
    if (state_ == State::Closing || state_ == State::Gone)
        return;
    unregisterLimit_->stop();
    setState(State::Closing);
    nua_handle_bind(handle_, nullptr);
    nua_handle_destroy(handle_);
    handle_ = nullptr;
    nua_shutdown(agent_);
}
