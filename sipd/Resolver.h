#ifndef RESOLVER_H
#define RESOLVER_H

#include "EventLoop.h"
#include "RegistrarAddress.h"
#include "ServerAddress.h"

#include <functional>
#include <memory>
#include <vector>

// Finds the addresses of registrars in DNS, in threads of its own, since the C library's calls block. Results
// come back through the loop. For the main thread.
class Resolver
{
public:
    // The addresses to try, best first; none when the name is not known or nobody could be asked.
    using OnResolved = std::function<void(const std::vector<ServerAddress>&)>;

    // Somebody waits for the result, as long as he keeps this.
    class Lookup;
    using LookupHandle = std::shared_ptr<Lookup>;

    explicit Resolver(EventLoop& loop);
    ~Resolver();
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;

    // Calls onResolved from the loop, never from within, and not before there is a thread for it. Registrars
    // at the default port are looked for by their SRV records first.
    LookupHandle resolve(const RegistrarAddress& registrar, OnResolved onResolved);

    // Whether a thread still looks for a name. It cannot be stopped; after a few seconds it ends by itself.
    bool isBusy() const;

private:
    struct Shared;

    void startThread();
    void deliver();

    const std::shared_ptr<Shared> shared_; // with the threads, which may outlive the rest
    FdWatch watch_;
};

#endif
