#ifndef TEST_REGISTRAR_H
#define TEST_REGISTRAR_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
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
    };

    struct Register
    {
        std::string user; // unescaped
        std::string contact;
        std::string authorization;
        int expires = -1;
    };

    // A port of 0 is any.
    explicit TestRegistrar(unsigned int port = 0);
    ~TestRegistrar();
    TestRegistrar(const TestRegistrar&) = delete;
    TestRegistrar& operator=(const TestRegistrar&) = delete;

    unsigned int port() const { return port_; }

    // Asks for the password of this account. Without an account, every REGISTER is accepted.
    void setAccount(const Account& account) { set(account_, account); }
    // The status of every answer from now on; 0 for no answer at all.
    void setAnswer(std::optional<int> status) { set(status_, status); }
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
    std::string challenges();
    std::string nonce();

    int fd_ = -1;
    int wakeFd_ = -1;
    unsigned int port_ = 0;

    mutable std::mutex mutex_; // of what follows
    std::condition_variable released_;
    std::optional<Account> account_;
    std::optional<int> status_;
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

    std::thread thread_;
};

#endif
