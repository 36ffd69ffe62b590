// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#define NUA_MAGIC_T struct Exchange
#define NUA_HMAGIC_T struct Exchange
struct Exchange;

#include "bareRegister.h"

#include <sofia-sip/msg_header.h>
#include <sofia-sip/nua.h>
#include <sofia-sip/nua_tag.h>
#include <sofia-sip/sip.h>
#include <sofia-sip/sip_tag.h>
#include <sofia-sip/su_log.h>
#include <sofia-sip/su_wait.h>

#include <cstdarg>
#include <cstdlib>
#include <string>

struct Exchange
{
    bool isRegistered = false;
    bool isUnregistered = false;
    bool isShutDown = false;
};

namespace {

void handle(nua_event_t event, int status, const char* /*phrase*/, nua_t* /*agent*/, Exchange* exchange,
            nua_handle_t* handle, Exchange* /*owner*/, const sip_t* sip, tagi_t* /*tags*/)
{
    if (event == nua_r_register && status == 401) {
        const char* const realm = msg_header_find_param(sip->sip_www_authenticate->au_common, "realm=");
        nua_authenticate(handle, NUTAG_AUTH(("Digest:" + std::string(realm) + ":anna:secret").c_str()),
                         TAG_END());
    } else if (event == nua_r_register && status >= 200) {
        exchange->isRegistered = true;
    } else if (event == nua_r_unregister && status >= 200 && status != 401) {
        exchange->isUnregistered = true;
    } else if (event == nua_r_shutdown && status >= 200) {
        exchange->isShutDown = true;
    }
}

void discard(void* /*stream*/, const char* /*format*/, va_list /*arguments*/) {}

} // namespace

BareRegister::BareRegister(unsigned int port) : port_(port)
{
    su_init();
    su_log_redirect(nullptr, discard, nullptr);
    root_ = su_root_create(nullptr);
    su_root_threading(root_, 0);
}

BareRegister::~BareRegister()
{
    su_root_destroy(root_);
    su_deinit();
}

std::chrono::nanoseconds BareRegister::run()
{
    Exchange exchange;
    const auto start = std::chrono::steady_clock::now();
    nua_t* const agent = nua_create(root_, handle, &exchange, NUTAG_URL("sip:127.0.0.1:*;transport=udp"),
                                    NUTAG_OUTBOUND("no-outbound no-natify no-validate no-options-keepalive"),
                                    NUTAG_KEEPALIVE(0), TAG_END());
    nua_handle_t* const registration = nua_handle(agent, &exchange, SIPTAG_TO_STR("<sip:anna@127.0.0.1>"),
                                                  SIPTAG_FROM_STR("<sip:anna@127.0.0.1>"), TAG_END());
    const std::string url = "sip:127.0.0.1:" + std::to_string(port_) + ";transport=udp";
    nua_register(registration, NUTAG_REGISTRAR(url.c_str()), NUTAG_PROXY(url.c_str()),
                 NUTAG_M_USERNAME("anna"), SIPTAG_EXPIRES_STR("3600"), TAG_END());
    while (!exchange.isRegistered)
        su_root_step(root_, 1000);
    const auto end = std::chrono::steady_clock::now();

    nua_unregister(registration, TAG_END());
    while (!exchange.isUnregistered)
        su_root_step(root_, 1000);
    nua_handle_destroy(registration);
    nua_shutdown(agent);
    while (!exchange.isShutDown)
        su_root_step(root_, 1000);
    nua_destroy(agent);
    return end - start;
}
