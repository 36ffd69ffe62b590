// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "TestRegistrar.h"

#include "Digest.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr char PROXY_NONCE[] = "of the proxy";

std::vector<std::string> linesOf(const std::string& message)
{
    std::vector<std::string> lines;
    for (size_t start = 0; start < message.size();) {
        const size_t end = message.find("\r\n", start);
        lines.push_back(message.substr(start, end - start));
        start = end == std::string::npos ? end : end + 2;
    }
    return lines;
}

// The whole lines of the headers of that name.
std::string headers(const std::vector<std::string>& lines, const std::string& name)
{
    std::string found;
    for (const std::string& line : lines) {
        if (strncasecmp(line.c_str(), (name + ':').c_str(), name.size() + 1) == 0)
            found += line + "\r\n";
    }
    return found;
}

std::string valueOf(const std::vector<std::string>& lines, const std::string& name)
{
    const std::string line = headers(lines, name);
    const size_t start = line.find_first_not_of(' ', name.size() + 1);
    return line.empty() ? "" : line.substr(start, line.find("\r\n") - start);
}

std::string unescaped(const std::string& text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
        i += 2;
    }
    return result;
}

int secondsOf(const std::string& text)
{
    return static_cast<int>(std::min(std::strtol(text.c_str(), nullptr, 10), long{INT_MAX}));
}

std::string quotedText(const std::string& text)
{
    std::string result;
    for (const char c : text)
        result += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return '"' + result + '"';
}

// The URIs of a header Contact with its parameters, as "<URI>" and whether it is to be removed.
std::vector<std::pair<std::string, bool>> contactsOf(const std::string& header, int expires)
{
    std::vector<std::pair<std::string, bool>> contacts;
    for (size_t start = header.find('<'); start != std::string::npos; start = header.find('<', start + 1)) {
        const size_t end = header.find('>', start) + 1;
        const bool isRemoved = expires == 0 || header.compare(end, 10, ";expires=0") == 0;
        contacts.emplace_back(header.substr(start, end - start), isRemoved);
    }
    return contacts;
}

// The value of a parameter of an Authorization header, without its quotation marks.
std::string parameter(const std::string& header, const std::string& name)
{
    size_t i = header.find(' ' + name + '=');
    if (i == std::string::npos)
        return {};
    i += name.size() + 2;
    std::string value;
    if (header[i] != '"')
        return header.substr(i, header.find(',', i) - i);
    for (++i; i < header.size() && header[i] != '"'; ++i) {
        if (header[i] == '\\')
            ++i;
        value += header[i];
    }
    return value;
}

} // namespace

TestRegistrar::TestRegistrar(unsigned int port)
    : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), wakeFd_(eventfd(0, EFD_CLOEXEC))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), size) != 0)
        throw std::runtime_error("the port is taken");
    getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { run(); });
}

TestRegistrar::~TestRegistrar()
{
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        released_.notify_all();
    }
    eventfd_write(wakeFd_, 1);
    thread_.join();
    close(wakeFd_);
    close(fd_);
}

void TestRegistrar::run()
{
    for (;;) {
        std::array<pollfd, 2> ready = {pollfd{fd_, POLLIN, 0}, pollfd{wakeFd_, POLLIN, 0}};
        poll(ready.data(), ready.size(), -1);
        if (ready[1].revents != 0)
            return;
        std::array<char, 65536> buffer;
        sockaddr_storage from;
        socklen_t size = sizeof(from);
        const ssize_t count = recvfrom(fd_, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                       reinterpret_cast<sockaddr*>(&from), &size);
        if (count <= 0)
            continue;
        const std::string message(buffer.data(), static_cast<size_t>(count));
        {
            const std::lock_guard lock(mutex_);
            if (message.find_first_not_of("\r\n") == std::string::npos)
                ++keepAlives_;
            else if (message.starts_with("SIP/2.0 "))
                answers_.push_back(message);
            phone_ = from;
        }
        const std::string answer = answerTo(message);
        if (!answer.empty())
            sendto(fd_, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), size);
        if (answer.starts_with("SIP/2.0 200 ")) {
            const std::lock_guard lock(mutex_);
            ++accepted_;
        }
    }
}

std::string TestRegistrar::answerTo(const std::string& message)
{
    const auto lines = linesOf(message);
    if (!message.starts_with("REGISTER "))
        return {};
    const std::string to = valueOf(lines, "To");
    const size_t start = to.find("sip:") + 4;
    const Register request{unescaped(to.substr(start, to.find('@') - start)), headers(lines, "Contact"),
                           valueOf(lines, "Authorization"), secondsOf(valueOf(lines, "Expires")), message};

    std::unique_lock lock(mutex_);
    requests_.push_back(request);
    released_.wait(lock, [this] { return !isHeld_ || isStopping_; });
    if (status_ == 0 || (lost_ > 0 && lost_-- > 0))
        return {};
    std::string via = headers(lines, "Via");
    if (!seen_.empty()) {
        const size_t colon = seen_.rfind(':');
        via.replace(via.find(";rport"), 6,
                    ";received=" + seen_.substr(0, colon) + ";rport=" + seen_.substr(colon + 1));
    }
    const std::string common = via + headers(lines, "From") + "To: " + to + ";tag=1\r\n" +
                               headers(lines, "Call-ID") + headers(lines, "CSeq") + "Content-Length: 0\r\n";
    if (status_)
        return "SIP/2.0 " + std::to_string(*status_) + ' ' + reason_ + "\r\n" + common + statusHeaders_ +
               "\r\n";
    if (!refused_.empty() && request.contact.find(refused_) != std::string::npos)
        return "SIP/2.0 " + std::to_string(refusal_) + " Refused\r\n" + common + "\r\n";
    const std::string proxied = valueOf(lines, "Proxy-Authorization");
    const bool isPassed = !proxy_ || isAuthorizedBy(*proxy_, proxied, PROXY_NONCE);
    if (!isPassed && !asksAtOnce_)
        return "SIP/2.0 407 Proxy Authentication Required\r\n" + common +
               challenges(*proxy_, "Proxy-Authenticate", PROXY_NONCE) + "\r\n";
    if (account_ && (!isAuthorized(request) || !isPassed))
        return "SIP/2.0 401 Unauthorized\r\n" + common +
               (isPassed ? "" : challenges(*proxy_, "Proxy-Authenticate", PROXY_NONCE)) +
               challenges(*account_, "WWW-Authenticate", nonce()) + "\r\n";
    if (request.expires != 0 && request.expires < shortestBinding_)
        return "SIP/2.0 423 Interval Too Brief\r\n" + common +
               "Min-Expires: " + std::to_string(shortestBinding_) + "\r\n\r\n";
    std::string bound;
    const int granted = request.expires == 0 ? 0 : granted_.value_or(request.expires);
    for (const auto& [contact, isRemoved] : contactsOf(request.contact, request.expires)) {
        if (isRemoved)
            contacts_.erase(contact);
        else
            contacts_.insert(contact);
        if (!isRemoved)
            bound += "Contact: " + contact + ";expires=" + std::to_string(granted) + "\r\n";
    }
    return "SIP/2.0 200 OK\r\n" + common + (contactHeaders_.empty() ? bound : contactHeaders_) + "\r\n";
}

void TestRegistrar::ask(const std::string& request)
{
    const std::lock_guard lock(mutex_);
    sendto(fd_, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&phone_),
           sizeof(sockaddr_in));
}

bool TestRegistrar::isAuthorized(const Register& request)
{
    const std::string& header = request.authorization;
    if (parameter(header, "nonce") != nonce() || usesOfNonce_ >= nonceUses_) {
        ++nonceNumber_;
        usesOfNonce_ = 0;
        return false;
    }
    ++usesOfNonce_;
    return request.user == account_->user && isAuthorizedBy(*account_, header, nonce());
}

bool TestRegistrar::isAuthorizedBy(const Account& account, const std::string& header,
                                   const std::string& nonce)
{
    const DigestQuestion question{parameter(header, "algorithm"),
                                  account.realm,
                                  nonce,
                                  "REGISTER",
                                  parameter(header, "uri"),
                                  parameter(header, "cnonce"),
                                  parameter(header, "nc"),
                                  parameter(header, "qop")};
    return parameter(header, "username") == account.user && parameter(header, "nonce") == nonce &&
           parameter(header, "realm") == account.realm && question.algorithm == account.algorithms.front() &&
           account.qop.empty() == question.qop.empty() &&
           account.qop.find(question.qop) != std::string::npos &&
           parameter(header, "response") == digestResponse(question, account.user, account.password);
}

std::string TestRegistrar::challenges(const Account& account, const char* name,
                                      const std::string& nonce) const
{
    std::string headers;
    for (const std::string& algorithm : account.algorithms)
        headers += std::string(name) +
                   ": Digest realm=" + (account.isRealmQuoted ? quotedText(account.realm) : account.realm) +
                   ", nonce=\"" + nonce + "\", algorithm=" + algorithm +
                   (account.qop.empty() ? "" : ", qop=" + account.qop) + ", opaque=\"o\"" +
                   (saysStale_ && nonceNumber_ > 1 ? ", stale=true\r\n" : "\r\n");
    return headers;
}

void TestRegistrar::release()
{
    set(isHeld_, false);
    released_.notify_all();
}
