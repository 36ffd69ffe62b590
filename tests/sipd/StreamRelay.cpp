// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamRelay.h"

#include "Mutation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <unistd.h>

struct StreamRelay::Connection
{
    int fd = -1;
    std::shared_ptr<SSL> tls;
    std::thread thread;
    bool hasEnded = false;
};

namespace {

int newListener()
{
    int fd = socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int off = 0;
    setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof(off));
    sockaddr_in6 any = {};
    any.sin6_family = AF_INET6;
    if (bind(fd, reinterpret_cast<const sockaddr*>(&any), sizeof(any)) == 0)
        return fd;
    close(fd); // a machine without IPv6
    fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in any4 = {};
    any4.sin_family = AF_INET;
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&any4), sizeof(any4)), 0);
    return fd;
}

unsigned int portOf(int fd)
{
    sockaddr_storage address;
    socklen_t size = sizeof(address);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    // Both families have the port at the same place.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

int connectToRegistrar(unsigned int port)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}

} // namespace

StreamRelay::StreamRelay(unsigned int registrarPort, Faults faults)
    : registrarPort_(registrarPort), faults_(faults)
{
    listen();
}

StreamRelay::StreamRelay(unsigned int registrarPort, const Certificate& certificate, int version)
    : registrarPort_(registrarPort), context_(SSL_CTX_new(TLS_server_method()), SSL_CTX_free)
{
    SSL_CTX* const context = context_.get();
    EXPECT_EQ(SSL_CTX_use_certificate_file(context, certificate.certificate.c_str(), SSL_FILETYPE_PEM), 1);
    EXPECT_EQ(SSL_CTX_use_PrivateKey_file(context, certificate.key.c_str(), SSL_FILETYPE_PEM), 1);
    SSL_CTX_set_security_level(context, 0); // for old versions
    SSL_CTX_set_min_proto_version(context, version == 0 ? TLS1_VERSION : version);
    SSL_CTX_set_max_proto_version(context, version);
    listen();
}

StreamRelay::~StreamRelay()
{
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        shutdown(listener_, SHUT_RDWR);
        for (const Connection& connection : connections_)
            shutdown(connection.fd, SHUT_RDWR);
    }
    thread_.join();
    for (Connection& connection : connections_) {
        connection.thread.join();
        close(connection.fd);
    }
    close(listener_);
}

void StreamRelay::listen()
{
    listener_ = newListener();
    port_ = portOf(listener_);
    EXPECT_EQ(::listen(listener_, SOMAXCONN), 0);
    thread_ = std::thread([this] { acceptAll(); });
}

void StreamRelay::acceptAll()
{
    for (unsigned int seed = 1;; ++seed) {
        const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(mutex_);
        std::erase_if(connections_, [](Connection& connection) {
            if (!connection.hasEnded)
                return false;
            connection.thread.join();
            close(connection.fd);
            return true;
        });
        if (isStopping_ || fd < 0) {
            close(fd);
            return;
        }
        Connection& connection = connections_.emplace_back();
        connection.fd = fd;
        connection.thread = std::thread([this, &connection, seed] { serve(connection, seed); });
    }
}

void StreamRelay::serve(Connection& connection, unsigned int seed)
{
    // A client may have closed.
    sigset_t brokenPipe;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    const int noDelay = 1;
    setsockopt(connection.fd, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof(noDelay));
    const int registrar = connectToRegistrar(registrarPort_);
    std::string received;
    bool isOpen = context_ == nullptr || shakeHands(connection);
    while (isOpen) {
        std::array<pollfd, 2> ready = {pollfd{connection.fd, POLLIN, 0}, pollfd{registrar, POLLIN, 0}};
        poll(ready.data(), ready.size(), -1);
        isOpen = (ready[0].revents == 0 || passRequests(connection, registrar, received)) &&
                 (ready[1].revents == 0 || passAnswer(connection, registrar, seed));
    }
    connection.tls.reset();
    close(registrar);
    const std::lock_guard lock(mutex_);
    shutdown(connection.fd, SHUT_RDWR);
    connection.hasEnded = true;
}

bool StreamRelay::shakeHands(Connection& connection)
{
    connection.tls.reset(SSL_new(context_.get()), SSL_free);
    SSL* const tls = connection.tls.get();
    SSL_set_fd(tls, connection.fd);
    if (SSL_accept(tls) != 1)
        return false;
    const char* const name = SSL_get_servername(tls, TLSEXT_NAMETYPE_host_name);
    const std::lock_guard lock(mutex_);
    handshakes_.push_back({name == nullptr ? "" : name, SSL_get_version(tls)});
    return true;
}

// False when the client has closed.
bool StreamRelay::passRequests(Connection& connection, int registrar, std::string& received)
{
    std::array<char, 65536> buffer;
    const ssize_t count = connection.tls != nullptr
                              ? SSL_read(connection.tls.get(), buffer.data(), static_cast<int>(buffer.size()))
                              : read(connection.fd, buffer.data(), buffer.size());
    if (count <= 0)
        return false;
    received.append(buffer.data(), static_cast<size_t>(count));
    for (size_t end = 0; (end = received.find("\r\n\r\n")) != std::string::npos; received.erase(0, end + 4))
        write(registrar, received.data(), end + 4);
    return true;
}

// False when the connection ends then.
bool StreamRelay::passAnswer(Connection& connection, int registrar, unsigned int& seed)
{
    std::array<char, 65536> buffer;
    const ssize_t count = read(registrar, buffer.data(), buffer.size());
    if (count <= 0)
        return true;
    const std::string answer(buffer.data(), static_cast<size_t>(count));
    std::mt19937 random(seed++);
    const int mutants = malforms_ ? faults_.mutants : 0;
    for (int i = 0; i < mutants; ++i) {
        if (!send(connection, mutated(answer, random)))
            return false;
        ++mutantsSent_;
    }
    const bool isSent = send(connection, answer);
    ++answersSent_;
    return isSent;
}

void StreamRelay::reset()
{
    const sockaddr nobody = {.sa_family = AF_UNSPEC, .sa_data = {}};
    const std::lock_guard lock(mutex_);
    for (const Connection& connection : connections_)
        connect(connection.fd, &nobody, sizeof(nobody));
}

bool StreamRelay::send(const Connection& connection, const std::string& answer)
{
    const size_t part = faults_.isBytewise ? 1 : std::max<size_t>(answer.size(), 1);
    for (size_t sent = 0; sent < answer.size(); sent += part) {
        const ssize_t count =
            connection.tls != nullptr
                ? SSL_write(connection.tls.get(), answer.data() + sent, static_cast<int>(part))
                : write(connection.fd, answer.data() + sent, part);
        if (count != static_cast<ssize_t>(part))
            return false;
        ++segmentsSent_;
    }
    return true;
}

std::vector<StreamRelay::Handshake> StreamRelay::handshakes() const
{
    const std::lock_guard lock(mutex_);
    return handshakes_;
}
