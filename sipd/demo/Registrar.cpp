// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Registrar.h"

#include <sofia-sip/auth_digest.h>
#include <sofia-sip/nta_stateless.h>
#include <sofia-sip/sip_header.h>
#include <sofia-sip/sip_status.h>
#include <sofia-sip/sip_tag.h>
#include <sofia-sip/url.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/random.h>
#include <utility>

namespace {

constexpr char REALM[] = "demo";
constexpr std::chrono::seconds LONGEST_BINDING(3600);
constexpr su_duration_t EXPIRY_PERIOD_MS = 1000;

void tell(const std::string& user, const std::string& event)
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    char stamp[32] = "";
    std::strftime(stamp, sizeof(stamp), "%F %T", localtime_r(&now, &local));
    std::printf("%s  %s %s\n", stamp, user.c_str(), event.c_str());
}

std::string randomHex()
{
    unsigned char bytes[16] = {};
    // Without randomness the nonce is a constant, which does here.
    [[maybe_unused]] const ssize_t filled = getrandom(bytes, sizeof(bytes), 0);
    std::string hex;
    for (const unsigned char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof(digits), "%02x", byte);
        hex += digits;
    }
    return hex;
}

// Without its escapes.
std::string userIn(const url_t* url)
{
    if (url->url_user == nullptr)
        return {};
    std::string user(url->url_user);
    user.resize(url_unescape_to(user.data(), user.data(), user.size()));
    return user;
}

// Fit to stand in a line of its own, whatever the peer sent.
std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
    return text;
}

std::string textOf(const url_t* url)
{
    char text[512];
    const issize_t length = url_e(text, sizeof(text), url);
    return length > 0 && static_cast<size_t>(length) < sizeof(text) ? text : "";
}

std::chrono::seconds lifetimeOf(const sip_contact_t* contact, const sip_t* request)
{
    const auto asked = std::chrono::seconds(sip_contact_expires(
        contact, request->sip_expires, request->sip_date, LONGEST_BINDING.count(), sip_now()));
    return std::min(asked, LONGEST_BINDING);
}

} // namespace

Registrar::Registrar(su_root_t* root, Accounts accounts)
    : root_(root), accounts_(std::move(accounts)), bindings_(tell), nonce_(randomHex()),
      timer_(su_timer_create(su_root_task(root), EXPIRY_PERIOD_MS), su_timer_destroy),
      agent_(nullptr, nta_agent_destroy)
{
}

Registrar::~Registrar() = default;

bool Registrar::listen(int port)
{
    const std::string number = std::to_string(port);
    const std::string address = "sip:127.0.0.1:" + number;
    const std::string address6 = "sip:[::1]:" + number;
    agent_.reset(nta_agent_create(root_, URL_STRING_MAKE(address.c_str()), receive, this, TAG_END()));
    if (agent_ == nullptr)
        return false;
    nta_agent_add_tport(agent_.get(), URL_STRING_MAKE(address6.c_str()), TAG_END());
    su_timer_set_for_ever(
        timer_.get(),
        [](su_root_magic_t*, su_timer_t*, Registrar* self) {
            self->bindings_.expire(Bindings::Clock::now());
        },
        this);
    return true;
}

int Registrar::receive(Registrar* self, nta_agent_t*, msg_t* message, sip_t* request)
{
    if (request->sip_request == nullptr || request->sip_request->rq_method == sip_method_ack)
        nta_msg_discard(self->agent_.get(), message);
    else
        self->answer(message, request);
    return 0;
}

void Registrar::answer(msg_t* message, const sip_t* request)
{
    if (request->sip_request->rq_method != sip_method_register)
        return reply(message, SIP_405_METHOD_NOT_ALLOWED);
    const std::string user = userIn(request->sip_to->a_url);
    const Account* account = accounts_.find(user);
    if (account == nullptr) {
        tell(printable(user), "refused: no such account");
        return reply(message, SIP_404_NOT_FOUND);
    }
    switch (account->conduct) {
    case Conduct::Registers:
        return authenticate(message, request, *account);
    case Conduct::Forbids:
        tell(user, "refused: forbidden");
        return reply(message, SIP_403_FORBIDDEN);
    case Conduct::IsBusy:
        tell(user, "refused: busy");
        return reply(message, SIP_503_SERVICE_UNAVAILABLE);
    case Conduct::KeepsSilent:
        tell(user, "not answered");
        nta_msg_discard(agent_.get(), message);
    }
}

void Registrar::authenticate(msg_t* message, const sip_t* request, const Account& account)
{
    switch (proofOf(request, account)) {
    case Proof::None:
        return challenge(message, false);
    case Proof::Stale:
        return challenge(message, true);
    case Proof::Wrong:
        tell(account.user, "refused: wrong password");
        return challenge(message, false);
    case Proof::Right:
        bind(message, request, account.user);
    }
}

Registrar::Proof Registrar::proofOf(const sip_t* request, const Account& account) const
{
    const sip_authorization_t* credentials = request->sip_authorization;
    if (credentials == nullptr)
        return Proof::None;
    auth_response_t given = {};
    given.ar_size = sizeof(given);
    su_home_t home = SU_HOME_INIT(home);
    const std::unique_ptr<su_home_t, decltype(&su_home_deinit)> cleanup(&home, su_home_deinit);
    if (su_home_init(&home) != 0 || auth_digest_response_get(&home, &given, credentials->au_params) <= 0)
        return Proof::None;
    if (given.ar_nonce == nullptr || given.ar_nonce != nonce_)
        return Proof::Stale;
    if (given.ar_username == nullptr || given.ar_username != account.user || given.ar_realm == nullptr ||
        std::strcmp(given.ar_realm, REALM) != 0)
        return Proof::Wrong;
    auth_hexmd5_t secret = "";
    auth_hexmd5_t expected = "";
    auth_digest_ha1(secret, account.user.c_str(), REALM, account.password.c_str());
    auth_digest_response(&given, expected, secret, request->sip_request->rq_method_name, nullptr, 0);
    return given.ar_response != nullptr && std::strcmp(given.ar_response, expected) == 0 ? Proof::Right
                                                                                         : Proof::Wrong;
}

void Registrar::challenge(msg_t* message, bool stale)
{
    const std::string header = std::string("Digest realm=\"") + REALM + "\", nonce=\"" + nonce_ +
                               "\", algorithm=MD5, qop=\"auth\"" + (stale ? ", stale=true" : "");
    nta_msg_treply(agent_.get(), message, SIP_401_UNAUTHORIZED, SIPTAG_WWW_AUTHENTICATE_STR(header.c_str()),
                   TAG_END());
}

void Registrar::bind(msg_t* message, const sip_t* request, const std::string& user)
{
    const auto now = Bindings::Clock::now();
    for (const sip_contact_t* contact = request->sip_contact; contact != nullptr; contact = contact->m_next) {
        if (contact->m_url->url_type == url_any)
            bindings_.removeAll(user);
        else
            bindings_.set(user, printable(textOf(contact->m_url)), lifetimeOf(contact, request), now);
    }
    const std::string bound = bindings_.contactHeader(user, now);
    nta_msg_treply(agent_.get(), message, SIP_200_OK,
                   TAG_IF(!bound.empty(), SIPTAG_CONTACT_STR(bound.c_str())), TAG_END());
}

void Registrar::reply(msg_t* message, int status, const char* phrase)
{
    nta_msg_treply(agent_.get(), message, status, phrase, TAG_END());
}
