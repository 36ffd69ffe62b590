// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Resolver.h"

#include "Log.h"
#include "ServiceRecords.h"

#include <algorithm>
#include <arpa/nameser.h>
#include <chrono>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <netdb.h>
#include <optional>
#include <poll.h>
#include <resolv.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

// A silent name server keeps a thread busy for seconds, and clients may ask again and again.
constexpr size_t MOST_THREADS = 16;
constexpr size_t MOST_ADDRESSES = 8;
// No further records are asked for after that.
constexpr std::chrono::seconds LONGEST_SERVICE_SEARCH{2};

ServiceName serviceOf(const std::string& domain, Transport transport)
{
    switch (transport) {
    case Transport::Tcp:
        return {"_sip._tcp." + domain, transport};
    case Transport::Tls:
        return {"_sips._tcp." + domain, transport};
    case Transport::Udp:
        break;
    }
    return {"_sip._udp." + domain, transport};
}

// The answer of a name server; empty without one. A silent server gets that many seconds.
std::vector<unsigned char> answerTo(const std::string& name, ns_type type, int seconds)
{
    struct __res_state state = {};
    if (res_ninit(&state) != 0)
        return {};
    state.retrans = seconds;
    state.retry = 1;
    std::vector<unsigned char> answer(4096);
    const int length =
        res_nquery(&state, name.c_str(), ns_c_in, type, answer.data(), static_cast<int>(answer.size()));
    res_nclose(&state);
    answer.resize(std::min(static_cast<size_t>(std::max(length, 0)), answer.size()));
    return answer;
}

// The services of the registrar's domain, best first (RFC 3263).
struct Services
{
    std::vector<ServiceName> names;
    bool isChosen = false; // By the domain: each may be used. Otherwise by us: the first that exists is used.
};

Services servicesOf(const RegistrarAddress& registrar)
{
    if (!registrar.defaultTransport)
        return {{serviceOf(registrar.host, registrar.transport)}};
    if (Services services{parseServiceNames(answerTo(registrar.host, ns_t_naptr, 1)), true};
        !services.names.empty())
        return services;
    Services services;
    for (const Transport transport : {Transport::Udp, Transport::Tcp, Transport::Tls})
        services.names.push_back(serviceOf(registrar.host, transport));
    return services;
}

void appendAddresses(std::vector<ServerAddress>& addresses, const ServiceTarget& target, Transport transport)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_ADDRCONFIG;
    addrinfo* first = nullptr;
    const int error = getaddrinfo(target.host.c_str(), nullptr, &hints, &first);
    if (error != 0) {
        SIPD_DETAIL("%s: %s", target.host.c_str(), gai_strerror(error));
        return;
    }
    for (const addrinfo* i = first; i != nullptr && addresses.size() < MOST_ADDRESSES; i = i->ai_next) {
        if (i->ai_family == AF_INET) {
            sockaddr_in v4;
            std::memcpy(&v4, i->ai_addr, sizeof(v4));
            v4.sin_port = htons(target.port);
            addresses.emplace_back(v4, transport);
        } else if (i->ai_family == AF_INET6) {
            sockaddr_in6 v6;
            std::memcpy(&v6, i->ai_addr, sizeof(v6));
            v6.sin6_port = htons(target.port);
            addresses.emplace_back(v6, transport);
        }
    }
    freeaddrinfo(first);
}

std::vector<ServerAddress> addressesOf(const std::vector<ServiceTarget>& targets, Transport transport)
{
    std::vector<ServerAddress> addresses;
    for (const ServiceTarget& target : targets)
        appendAddresses(addresses, target, transport);
    return addresses;
}

// The addresses that the domain's records name. Nothing when it has none, or no name server answers: most
// domains have no such records, and some name servers do not know them. The plain name must have time left.
std::optional<std::vector<ServerAddress>> findServers(const RegistrarAddress& registrar)
{
    const auto end = std::chrono::steady_clock::now() + LONGEST_SERVICE_SEARCH;
    const Services services = servicesOf(registrar);
    std::optional<std::vector<ServerAddress>> servers;
    for (const ServiceName& service : services.names) {
        const bool isEnough = servers && !servers->empty() && !services.isChosen;
        const auto left = std::chrono::ceil<std::chrono::seconds>(end - std::chrono::steady_clock::now());
        if (isEnough || left.count() < 1)
            break;
        const auto targets =
            parseServiceRecords(answerTo(service.name, ns_t_srv, static_cast<int>(left.count())));
        if (targets.empty())
            continue;
        std::vector<ServerAddress> found = addressesOf(targets, service.transport);
        // Each address gets a share of the time: one of each other service must do.
        if (servers && !servers->empty())
            found.erase(found.begin() + std::min<std::ptrdiff_t>(std::ssize(found), 1), found.end());
        else
            servers.emplace();
        servers->insert(servers->end(), found.begin(), found.end());
    }
    return servers;
}

std::vector<ServerAddress> lookUp(const RegistrarAddress& registrar)
{
    // A name without a dot belongs to this machine or its network, not to a domain.
    if (registrar.defaultPort && registrar.host.find('.') != std::string::npos) {
        if (auto servers = findServers(registrar))
            return std::move(*servers);
    }
    return addressesOf({{registrar.host, registrar.port, 0, 0}}, registrar.transport);
}

} // namespace

class Resolver::Lookup
{
public:
    explicit Lookup(OnResolved onResolved) : onResolved_(std::move(onResolved)) {}
    void finish(const std::vector<ServerAddress>& addresses) { onResolved_(addresses); }

private:
    const OnResolved onResolved_;
};

struct Resolver::Shared
{
    using Question = std::pair<std::weak_ptr<Lookup>, RegistrarAddress>;
    using Result = std::pair<std::weak_ptr<Lookup>, std::vector<ServerAddress>>;

    Shared() : event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) { ORMU_ASSERT(event.isOpen()); }

    // A thread's work: answers questions until none waits.
    void work()
    {
        std::optional<Result> result;
        while (const auto question = next(std::move(result)))
            result = {question->first, lookUp(question->second)};
    }
    // Delivers the result and returns the next question. Without one, the thread must end.
    std::optional<Question> next(std::optional<Result> result)
    {
        const std::lock_guard lock(mutex);
        if (result)
            results.push_back(std::move(*result));
        const uint64_t one = 1;
        // This fails after 2^64 results at the earliest.
        [[maybe_unused]] const ssize_t written = write(event.get(), &one, sizeof(one));
        dropAbandoned();
        if (waiting.empty()) {
            if (auto self = threads.extract(std::this_thread::get_id()))
                ended.push_back(std::move(self.mapped()));
            return std::nullopt;
        }
        Question question = std::move(waiting.front());
        waiting.pop_front();
        return question;
    }
    // Drops questions whose handle is gone. Needs the mutex.
    void dropAbandoned()
    {
        std::erase_if(waiting, [](const Question& question) { return question.first.expired(); });
    }

    const FileDescriptor event;
    std::mutex mutex;             // for the members below
    std::deque<Question> waiting; // for a thread
    std::vector<Result> results;
    std::map<std::thread::id, std::thread> threads; // at work
    std::vector<std::thread> ended;                 // to be joined
};

Resolver::Resolver(EventLoop& loop)
    : shared_(std::make_shared<Shared>()),
      watch_(loop, shared_->event.get(), POLLIN, [this](int) { deliver(); })
{
}

Resolver::~Resolver()
{
    const std::lock_guard lock(shared_->mutex);
    for (auto& [id, thread] : std::exchange(shared_->threads, {}))
        thread.detach();
    for (std::thread& thread : std::exchange(shared_->ended, {}))
        thread.join();
}

Resolver::LookupHandle Resolver::resolve(const RegistrarAddress& registrar, OnResolved onResolved)
{
    auto handle = std::make_shared<Lookup>(std::move(onResolved));
    const std::lock_guard lock(shared_->mutex);
    shared_->dropAbandoned();
    shared_->waiting.emplace_back(handle, registrar);
    if (shared_->threads.size() < MOST_THREADS)
        startThread();
    return handle;
}

void Resolver::startThread()
{
    try {
        std::thread thread([shared = shared_] { shared->work(); });
        shared_->threads.emplace(thread.get_id(), std::move(thread));
    } catch (const std::system_error& error) {
        ORMU_LOG(ORMU_LEVEL_ERROR, "no thread for a lookup: %s", error.what());
    }
}

bool Resolver::isBusy() const
{
    const std::lock_guard lock(shared_->mutex);
    return !shared_->threads.empty();
}

void Resolver::deliver()
{
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(shared_->event.get(), &count, sizeof(count));
    std::vector<Shared::Result> results;
    std::vector<std::thread> ended;
    {
        const std::lock_guard lock(shared_->mutex);
        results.swap(shared_->results);
        ended.swap(shared_->ended);
    }
    for (std::thread& thread : ended)
        thread.join();
    for (const auto& [lookup, addresses] : results) {
        if (const auto handle = lookup.lock())
            handle->finish(addresses);
    }
}
