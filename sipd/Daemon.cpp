// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Daemon.h"

#include "SIPD_Messages.h"

#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds END_TIMEOUT{3500};

} // namespace

Daemon::Daemon(DaemonSocket& socket, int endSignals, SipSettings settings)
    : socket_(socket), network_(loop_, std::move(settings)),
      registrations_({loop_, loop_, network_, contacts_}),
      networkWatch_(loop_, loop_, [this] { registrations_.reviewNetwork(); }),
      server_(std::make_unique<Server>(loop_, socket.fd(), registrations_)),
      endLimit_(loop_.makeTimer([this] { isLate_ = true; })),
      signalWatch_(loop_, endSignals, POLLIN, [this, endSignals](int) {
          signalfd_siginfo info;
          isEnding_ = read(endSignals, &info, sizeof(info)) > 0 || isEnding_;
      })
{
    if (socket.watchFd() >= 0)
        socketWatch_.emplace(loop_, socket.watchFd(), POLLIN, [this](int) { restoreSocket(); });
}

bool Daemon::run()
{
    registrations_.connectAutomatically();
    std::printf("listening on %s\n", SIPD_SOCKET_PATH);
    std::fflush(stdout);
    while (!isLate_ && (server_ || !registrations_.isEmpty())) {
        loop_.step();
        if (server_ && socket_.isAway())
            restoreSocket();
        if (server_ && isEnding_)
            end();
        if (server_)
            server_->reap();
        registrations_.reap();
    }
    return !isLate_ && !network_.isBusy();
}

void Daemon::restoreSocket()
{
    if (!socket_.handleChange([this] { server_->listenOn(socket_.fd()); }))
        isEnding_ = true;
}

void Daemon::end()
{
    server_.reset();
    socketWatch_.reset();
    socket_.remove();
    registrations_.end();
    endLimit_->set(END_TIMEOUT);
}
