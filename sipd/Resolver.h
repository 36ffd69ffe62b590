// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef RESOLVER_H
#define RESOLVER_H

#include "EventLoop.h"
#include "SipServices.h"

#include <memory>

// Looks up the addresses of registrars in DNS, in threads of its own, since the C library's calls block.
// Results come back through the loop. Main thread only.
class Resolver
{
public:
    using OnResolved = Network::OnResolved;
    using LookupHandle = Network::LookupHandle;

    explicit Resolver(EventLoop& loop);
    ~Resolver();
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;

    // Calls onResolved from the loop, never from within this call. A registrar at the default port is looked
    // up by its SRV records first; at the default transport, by its NAPTR records before, and by the SRV
    // records of each transport (RFC 3263). A lookup waits when all threads are busy.
    LookupHandle resolve(const RegistrarAddress& registrar, OnResolved onResolved);

    // Whether a thread still waits for a name server. It cannot be stopped; it ends after a few seconds.
    bool isBusy() const;

private:
    class Lookup;
    struct Shared;

    void startThread();
    void deliver();

    const std::shared_ptr<Shared> shared_; // with the threads, which may outlive this
    FdWatch watch_;
};

#endif
