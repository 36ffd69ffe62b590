// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ScriptedDaemon.h"

#include "DaemonAddress.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr auto hangLimit = std::chrono::minutes(10);

std::string failure(const char* action)
{
    return std::string("cannot ") + action + " " SIPD_SOCKET_PATH ": " + std::strerror(errno);
}

bool someoneListens()
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    // EAGAIN: the listener's queue is full.
    const bool listens = atDaemonsPath(connect, fd) == 0 || errno == EAGAIN;
    close(fd);
    return listens;
}

// Whether the client has read everything that was sent to it.
bool isDrained(int fd)
{
    int unread = 0;
    return ioctl(fd, SIOCOUTQ, &unread) == 0 && unread == 0;
}

// The number of bytes from a client that are not read yet.
size_t unreadFrom(int fd)
{
    int unread = 0;
    ioctl(fd, FIONREAD, &unread);
    return static_cast<size_t>(unread);
}

// Whether the client will send no more.
bool hasHungUp(int fd)
{
    pollfd polled = {fd, POLLRDHUP, 0};
    return poll(&polled, 1, 0) == 1;
}

std::string nameIn(const _SIPD_MSG_PROFILE_S& profile)
{
    return {profile.name, strnlen(profile.name, sizeof(profile.name))};
}

} // namespace

ScriptedDaemon::ScriptedDaemon(const Scenario& played, Listener onMessage)
    : scenario(played), listener(std::move(onMessage))
{
}

ScriptedDaemon::~ScriptedDaemon()
{
    stop();
}

std::string ScriptedDaemon::start()
{
    struct stat present = {};
    if (lstat(SIPD_SOCKET_PATH, &present) == 0) {
        if (!S_ISSOCK(present.st_mode))
            return SIPD_SOCKET_PATH " is there and is not a socket";
        if (someoneListens())
            return "a daemon is already listening on " SIPD_SOCKET_PATH;
        unlink(SIPD_SOCKET_PATH);
    }
    listenFd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (atDaemonsPath(bind, listenFd) != 0 || listen(listenFd, SOMAXCONN) != 0) {
        std::string why = failure("listen on");
        close(listenFd);
        return why;
    }
    wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    thread = std::thread([this] { run(); });
    return {};
}

void ScriptedDaemon::stop()
{
    if (!thread.joinable())
        return;
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    eventfd_write(wakeFd, 1);
    thread.join();
    unlink(SIPD_SOCKET_PATH);
    close(listenFd);
    close(wakeFd);
}

void ScriptedDaemon::send(const std::string& bytes)
{
    {
        const std::lock_guard lock(mutex);
        toSend += bytes;
    }
    eventfd_write(wakeFd, 1);
}

void ScriptedDaemon::run()
{
    while (true) {
        std::vector<pollfd> polled = {{listenFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
        for (const auto& [id, client] : clients)
            polled.push_back({client.fd, POLLIN, 0});
        poll(polled.data(), polled.size(), pollTimeout());

        eventfd_t ignored = 0;
        eventfd_read(wakeFd, &ignored);
        {
            const std::lock_guard lock(mutex);
            if (stopping)
                break;
            if (!clients.empty())
                clients.rbegin()->second.out += std::exchange(toSend, {});
        }
        answerDue();
        size_t index = 2;
        for (auto it = clients.begin(); it != clients.end(); ++index) {
            auto& [id, client] = *it;
            const bool open = (polled[index].revents == 0 || readFrom(id, client)) && writeTo(client);
            if (open) {
                ++it;
                continue;
            }
            close(client.fd);
            it = clients.erase(it);
            const std::lock_guard lock(mutex);
            ++closedCount;
            changed.notify_all();
        }
        if ((polled[0].revents & POLLIN) != 0)
            acceptClient();
    }
    for (const auto& [id, client] : clients)
        close(client.fd);
    const std::lock_guard lock(mutex);
    closedCount += static_cast<int>(clients.size());
    clients.clear();
    changed.notify_all();
}

// In milliseconds; -1 for no limit.
int ScriptedDaemon::pollTimeout() const
{
    // No event tells that a client has read, so look again soon.
    for (const auto& [id, client] : clients) {
        if (!client.out.empty())
            return 1;
    }
    if (dues.empty())
        return -1;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(dues.begin()->first - Clock::now());
    return static_cast<int>(
        std::clamp<std::chrono::milliseconds::rep>(wait.count(), 0, std::numeric_limits<int>::max()));
}

void ScriptedDaemon::acceptClient()
{
    const int fd = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0)
        return;
    const std::lock_guard lock(mutex);
    clients[++acceptedCount].fd = fd;
    changed.notify_all();
}

bool ScriptedDaemon::readFrom(int id, Client& client)
{
    // Waits for the whole request; otherwise sending it would fail.
    if (scenario.resets && client.admitted)
        return unreadFrom(client.fd) < sizeof(_SIPD_MSG_HEAD_S) + sizeof(_SIPD_MSG_PROFILE_S) &&
               !hasHungUp(client.fd);
    char buffer[4096];
    const ssize_t count = recv(client.fd, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (count < 0 && errno == EAGAIN)
        return true;
    if (count <= 0)
        return false;
    client.in.append(buffer, static_cast<size_t>(count));
    {
        const std::lock_guard lock(mutex);
        receivedBytes.append(buffer, static_cast<size_t>(count));
        changed.notify_all();
    }
    while (const auto message = takeMessage(client.in)) {
        record(id, *message);
        answer(id, client, *message);
    }
    return true;
}

// The size of the next piece to send.
size_t ScriptedDaemon::nextChunk(const Client& client) const
{
    size_t chunk = client.out.size();
    if (scenario.singleBytes)
        chunk = std::min<size_t>(chunk, 1);
    if (scenario.splitAfter && client.sent < *scenario.splitAfter)
        chunk = std::min(chunk, *scenario.splitAfter - client.sent);
    if (scenario.closeAfter)
        chunk = std::min(chunk, *scenario.closeAfter - client.sent);
    return chunk;
}

bool ScriptedDaemon::writeTo(Client& client)
{
    const bool inPieces = scenario.singleBytes || scenario.splitAfter;
    while (!client.out.empty()) {
        const size_t chunk = nextChunk(client);
        if (chunk == 0)
            return false;
        if (inPieces && !isDrained(client.fd))
            return true;
        const ssize_t count = ::send(client.fd, client.out.data(), chunk, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0)
            return errno == EAGAIN;
        client.out.erase(0, static_cast<size_t>(count));
        client.sent += static_cast<size_t>(count);
    }
    return !scenario.closeAfter || !client.admitted || client.sent < *scenario.closeAfter;
}

void ScriptedDaemon::answer(int id, Client& client, const SipdMessage& message)
{
    if (message.type == SIPD_MSG_REGISTER) {
        admit(client);
        return;
    }
    const auto request = decodeProfile(message);
    if (!request || !scenario.answersLater)
        return;
    switch (request->request) {
    case PROFILE_CTRL_GET_STATUS:
    case PROFILE_CTRL_GET_NAME:
        client.out += disguise(encodeProfile(reportOf(*request)));
        break;
    default:
        dues.emplace(Clock::now() + scenario.ackDelay, Due{id, *request});
    }
}

void ScriptedDaemon::admit(Client& client)
{
    client.admitted = true;
    if (!scenario.answersRegistration)
        return;
    const std::string ack = encodeAck(scenario.registrationAck);
    client.out += encodeHead(scenario.registrationLength.value_or(sizeof(uint32_t)),
                             scenario.registrationType.value_or(SIPD_MSG_ACK), 0) +
                  ack.substr(sizeof(_SIPD_MSG_HEAD_S));
    if (scenario.statusMessageSdp)
        client.out += encodeStatus(std::string(264, 's'), std::string(*scenario.statusMessageSdp, 'v'));
}

void ScriptedDaemon::answerDue()
{
    while (!dues.empty() && dues.begin()->first <= Clock::now()) {
        acknowledge(dues.begin()->second);
        dues.erase(dues.begin());
    }
}

// Carries out the request if its ack is success, even for a client that has gone.
void ScriptedDaemon::acknowledge(const Due& due)
{
    uint32_t ack = SIPD_ACK_SUCCESS;
    const std::string name = nameIn(due.request);
    switch (due.request.request) {
    case PROFILE_CTRL_CONNECT:
        ack = nextAck(scenario.connectAck);
        if (ack == SIPD_ACK_SUCCESS)
            connectedProfiles.insert(name);
        break;
    case PROFILE_CTRL_DISCONNECT:
        ack = nextAck(scenario.disconnectAck);
        if (ack == SIPD_ACK_SUCCESS)
            connectedProfiles.erase(name);
        break;
    case PROFILE_CTRL_SET_NAME:
        ack = nextAck(scenario.setNameAck);
        if (ack == SIPD_ACK_SUCCESS)
            nameOfApplication[due.request.appId] = name;
        break;
    default:
        return;
    }
    const auto client = clients.find(due.client);
    if (client != clients.end())
        client->second.out += disguise(encodeAck(ack));
}

uint32_t ScriptedDaemon::nextAck(uint32_t usual)
{
    const std::vector<uint32_t>& turns = scenario.acksInTurn;
    return turns.empty() ? usual : turns[acksTaken++ % turns.size()];
}

// The answer with the type and length that the scenario announces.
std::string ScriptedDaemon::disguise(std::string answer) const
{
    const auto put = [&answer](size_t offset, const std::optional<uint32_t>& value) {
        if (value)
            std::memcpy(answer.data() + offset, &*value, sizeof(*value));
    };
    put(0, scenario.laterLength);
    put(4, scenario.laterType);
    return answer;
}

_SIPD_MSG_PROFILE_S ScriptedDaemon::reportOf(_SIPD_MSG_PROFILE_S query) const
{
    if (query.request == PROFILE_CTRL_GET_STATUS) {
        const uint32_t truth =
            connectedProfiles.contains(nameIn(query)) ? uint32_t{SIPD_PROFILE_CONNECTED} : 0;
        query.status = static_cast<_SIPD_PROFILE_STATUS_E>(scenario.status.value_or(truth));
        return query;
    }
    const auto known = nameOfApplication.find(query.appId);
    if (known != nameOfApplication.end())
        known->second.copy(query.name, SIPD_PROFILE_NAME_MAX);
    return query;
}

void ScriptedDaemon::record(int id, const SipdMessage& message)
{
    {
        const std::lock_guard lock(mutex);
        receivedMessages.push_back(message);
        changed.notify_all();
    }
    if (listener)
        listener(id, message);
}

std::string ScriptedDaemon::received() const
{
    const std::lock_guard lock(mutex);
    return receivedBytes;
}

std::vector<SipdMessage> ScriptedDaemon::messages() const
{
    const std::lock_guard lock(mutex);
    return receivedMessages;
}

std::vector<_SIPD_MSG_PROFILE_S> ScriptedDaemon::requests() const
{
    std::vector<_SIPD_MSG_PROFILE_S> found;
    for (const SipdMessage& message : messages()) {
        if (const auto profile = decodeProfile(message))
            found.push_back(*profile);
    }
    return found;
}

int ScriptedDaemon::accepted() const
{
    const std::lock_guard lock(mutex);
    return acceptedCount;
}

int ScriptedDaemon::closed() const
{
    const std::lock_guard lock(mutex);
    return closedCount;
}

bool ScriptedDaemon::waitUntil(const std::function<bool()>& condition) const
{
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, hangLimit, condition);
}

bool ScriptedDaemon::waitForBytes(size_t count) const
{
    return waitUntil([this, count] { return receivedBytes.size() >= count; });
}

bool ScriptedDaemon::waitForRequests(size_t count) const
{
    return waitUntil([this, count] {
        const auto isRequest = [](const SipdMessage& message) { return decodeProfile(message).has_value(); };
        return std::count_if(receivedMessages.begin(), receivedMessages.end(), isRequest) >=
               static_cast<std::ptrdiff_t>(count);
    });
}

bool ScriptedDaemon::waitForClosed(int count) const
{
    return waitUntil([this, count] { return closedCount >= count; });
}
