// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef TEST_REGISTRAR_H
#define TEST_REGISTRAR_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

// A small SIP registrar over UDP on a port of 127.0.0.1, on a thread of its own. It knows REGISTER and no
// more. Every call may come from any thread.
class TestRegistrar
{
public:
    struct Account
    {
        std::string user;
        std::string password;
        std::vector<std::string> algorithms = {"MD5"}; // that it asks for, in this order
        std::string realm = R"(the "realm")";
        std::string qop = "\"auth\""; // as it stands in the header; empty for none
        bool isRealmQuoted = true;
    };

    struct Register
    {
        std::string user; // unescaped
        std::string contact;
        std::string authorization;
        int expires = -1;
        std::string text; // the whole message
    };

    // A port of 0 is any.
    explicit TestRegistrar(unsigned int port = 0);
    ~TestRegistrar();
    TestRegistrar(const TestRegistrar&) = delete;
    TestRegistrar& operator=(const TestRegistrar&) = delete;

    unsigned int port() const { return port_; }

    // Asks for the password of this account. Without an account, every REGISTER is accepted.
    void setAccount(const Account& account) { set(account_, account); }
    // A proxy before the registrar asks for the password of this account, too. Both ask in one answer, or the
    // proxy asks first.
    void setProxy(const Account& account, bool inOneAnswer)
    {
        set(proxy_, account);
        set(asksAtOnce_, inOneAnswer);
    }
    // The status of every answer from now on; 0 for no answer at all. The reason and the headers, with their
    // line ends, go into it.
    void setAnswer(std::optional<int> status, const std::string& reason = "Said",
                   const std::string& headers = {})
    {
        set(status_, status);
        set(reason_, reason);
        set(statusHeaders_, headers);
    }
    // Loses that many requests from now on: they are counted, but have no answer.
    void lose(int count) { set(lost_, count); }
    // The address that it says to have seen, "HOST:PORT"; empty for none.
    void setSeen(const std::string& seen) { set(seen_, seen); }
    // The contact headers of a positive answer, with their line ends, instead of the registered contact.
    void setContactHeaders(const std::string& headers) { set(contactHeaders_, headers); }
    // Gives this answer to a request whose contacts contain that text.
    void refuse(const std::string& text, int status = 403)
    {
        set(refused_, text);
        set(refusal_, status);
    }
    // The lifetime that it grants, whatever the phone asks for.
    void setGranted(int seconds) { set(granted_, seconds); }
    // Sends a request to the phone that has sent the last request. Its answer gets into answers().
    void ask(const std::string& request);
    // Answers wait until release().
    void hold() { set(isHeld_, true); }
    void release();
    // A nonce serves so many requests. The next challenge says that it is stale, or it does not.
    void setNonceUses(int uses, bool saysStale = false)
    {
        set(nonceUses_, uses);
        set(saysStale_, saysStale);
    }
    // Refuses to register for less than that with 423.
    void setShortestBinding(int seconds) { set(shortestBinding_, seconds); }

    std::vector<Register> requests() const { return get(requests_); }
    std::set<std::string> contacts() const { return get(contacts_); } // registered now
    // Requests whose positive answer has been sent.
    size_t accepted() const { return get(accepted_); }
    // Packets without content.
    size_t keepAlives() const { return get(keepAlives_); }
    std::vector<std::string> answers() const { return get(answers_); }

private:
    template <class T>
    T get(const T& member) const
    {
        const std::lock_guard lock(mutex_);
        return member;
    }
    template <class T, class Value>
    void set(T& member, const Value& value)
    {
        const std::lock_guard lock(mutex_);
        member = value;
    }

    void run();
    std::string answerTo(const std::string& request);
    bool isAuthorized(const Register& request);
    static bool isAuthorizedBy(const Account& account, const std::string& header, const std::string& nonce);
    std::string challenges(const Account& account, const char* name, const std::string& nonce) const;
    std::string nonce() const { return "nonce" + std::to_string(nonceNumber_); }

    int fd_ = -1;
    int wakeFd_ = -1;
    unsigned int port_ = 0;

    mutable std::mutex mutex_; // of what follows
    std::condition_variable released_;
    std::optional<Account> account_;
    std::optional<Account> proxy_;
    bool asksAtOnce_ = false;
    std::optional<int> status_;
    std::string reason_;
    std::string statusHeaders_;
    int lost_ = 0;
    std::string seen_;
    std::string refused_;
    int refusal_ = 403;
    std::string contactHeaders_;
    std::optional<int> granted_;
    bool isHeld_ = false;
    bool isStopping_ = false;
    int nonceUses_ = 1'000'000;
    bool saysStale_ = false;
    int shortestBinding_ = 0;
    int usesOfNonce_ = 0;
    int nonceNumber_ = 0;
    std::vector<Register> requests_;
    std::set<std::string> contacts_;
    size_t accepted_ = 0;
    size_t keepAlives_ = 0;
    std::vector<std::string> answers_;
    sockaddr_storage phone_ = {};

    std::thread thread_;
};

#endif
