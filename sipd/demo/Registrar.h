// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef REGISTRAR_H
#define REGISTRAR_H

class Registrar;
#define NTA_AGENT_MAGIC_T Registrar
#define SU_ROOT_MAGIC_T void
#define SU_TIMER_ARG_T Registrar

#include "Accounts.h"
#include "Bindings.h"

#include <sofia-sip/nta.h>
#include <sofia-sip/sip.h>
#include <sofia-sip/su_wait.h>

#include <memory>
#include <string>

// A SIP registrar on the loopback, for demonstrations: answers REGISTER over UDP and TCP as its accounts have
// it, refuses every other request, and tells on standard output what it does. It works in its root's loop,
// which never waits for it, and keeps nothing when it ends.
class Registrar
{
public:
    // The root must outlive it.
    Registrar(su_root_t* root, Accounts accounts);
    ~Registrar();
    Registrar(const Registrar&) = delete;
    Registrar& operator=(const Registrar&) = delete;

    // On 127.0.0.1, and on ::1 where that can be had. False when it cannot; the stack has told why.
    bool listen(int port);

private:
    enum class Proof { None, Stale, Wrong, Right };

    static int receive(Registrar* self, nta_agent_t* agent, msg_t* message, sip_t* request);
    void answer(msg_t* message, const sip_t* request);
    void authenticate(msg_t* message, const sip_t* request, const Account& account);
    void challenge(msg_t* message, bool stale);
    void bind(msg_t* message, const sip_t* request, const std::string& user);
    void reply(msg_t* message, int status, const char* phrase);

    Proof proofOf(const sip_t* request, const Account& account) const;

    su_root_t* root_;
    const Accounts accounts_;
    Bindings bindings_;
    const std::string nonce_; // one is enough where nobody can listen in
    std::unique_ptr<su_timer_t, decltype(&su_timer_destroy)> timer_;
    std::unique_ptr<nta_agent_t, decltype(&nta_agent_destroy)> agent_;
};

#endif
