#include "TestRegistrar.h"

#include "Digest.h"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

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

std::string quotedText(const std::string& text)
{
    std::string result;
    for (const char c : text)
        result += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    return '"' + result + '"';
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
        const std::string answer = answerTo({buffer.data(), static_cast<size_t>(count)});
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
    const Register request{unescaped(to.substr(start, to.find('@') - start)), valueOf(lines, "Contact"),
                           valueOf(lines, "Authorization"), std::stoi('0' + valueOf(lines, "Expires"))};

    std::unique_lock lock(mutex_);
    requests_.push_back(request);
    released_.wait(lock, [this] { return !isHeld_ || isStopping_; });
    if (status_ == 0)
        return {};
    const std::string common = headers(lines, "Via") + headers(lines, "From") + "To: " + to + ";tag=1\r\n" +
                               headers(lines, "Call-ID") + headers(lines, "CSeq") + "Content-Length: 0\r\n";
    if (status_)
        return "SIP/2.0 " + std::to_string(*status_) + " Said\r\n" + common + "\r\n";
    if (account_ && !isAuthorized(request))
        return "SIP/2.0 401 Unauthorized\r\n" + common + challenges() + "\r\n";
    if (request.expires != 0 && request.expires < shortestBinding_)
        return "SIP/2.0 423 Interval Too Brief\r\n" + common +
               "Min-Expires: " + std::to_string(shortestBinding_) + "\r\n\r\n";
    if (request.expires == 0)
        contacts_.erase(request.contact);
    else
        contacts_.insert(request.contact);
    return "SIP/2.0 200 OK\r\n" + common + "Contact: " + request.contact +
           ";expires=" + std::to_string(request.expires) + "\r\n\r\n";
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
    const DigestQuestion question{
        parameter(header, "algorithm"), account_->realm,        nonce(), "REGISTER", parameter(header, "uri"),
        parameter(header, "cnonce"),    parameter(header, "nc")};
    return parameter(header, "username") == account_->user && request.user == account_->user &&
           parameter(header, "realm") == account_->realm &&
           question.algorithm == account_->algorithms.front() &&
           parameter(header, "response") == digestResponse(question, account_->user, account_->password);
}

std::string TestRegistrar::challenges()
{
    std::string headers;
    for (const std::string& algorithm : account_->algorithms)
        headers += "WWW-Authenticate: Digest realm=" + quotedText(account_->realm) + ", nonce=\"" + nonce() +
                   "\", algorithm=" + algorithm + ", qop=\"auth\", opaque=\"o\"" +
                   (saysStale_ && nonceNumber_ > 1 ? ", stale=true\r\n" : "\r\n");
    return headers;
}

std::string TestRegistrar::nonce()
{
    return "nonce" + std::to_string(nonceNumber_);
}

void TestRegistrar::release()
{
    set(isHeld_, false);
    released_.notify_all();
}
