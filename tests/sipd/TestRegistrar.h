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

    // Everybody is asked for the password of this account; without it, everybody is welcome.
    void setAccount(const Account& account);
    // Answered to everybody, instead; 0 for no answer at all.
    void setAnswer(std::optional<int> status);
    // Answers wait until release().
    void hold();
    void release();
    // A nonce serves for so many requests, and then for none, without a word.
    void setNonceUses(int uses);

    std::vector<Register> requests() const;
    std::set<std::string> contacts() const; // registered now
    size_t accepted() const;                // requests whose positive answer has been sent

private:
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
    int usesOfNonce_ = 0;
    int nonceNumber_ = 0;
    std::vector<Register> requests_;
    std::set<std::string> contacts_;
    size_t accepted_ = 0;

    std::thread thread_;
};

#endif
