#ifndef REGISTRATIONS_H
#define REGISTRATIONS_H

#include "ProfileMatch.h"
#include "ProfileWatch.h"
#include "Registration.h"

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// The connections of all profiles, by their group names, and the names that applications have set. Observers
// are told the end of a request at once, or from the loop.
//
// All of it follows the profiles when they stand under other numbers in a settings file that has replaced the
// former one; what is asked after the replacement gets the answer for the new numbers. While a file is
// written in its place and may be half done, a request to connect or disconnect waits for that. A settings
// file that cannot be read, or is missing, changes nothing.
class Registrations
{
public:
    explicit Registrations(const SipServices& services);

    void connect(const std::string& group, RequestObserver* observer);
    void disconnect(const std::string& group, RequestObserver* observer);
    ConnectionStatus status(const std::string& group);
    void forget(RequestObserver* observer);

    // The name that an application uses; "" without one, or when its profile has been deleted.
    _SIPD_APP_ACK_E setName(uint32_t application, const std::string& name);
    std::string name(uint32_t application);

    // Connects every profile that is to be connected from the start; when the settings file cannot be read,
    // or is missing, as soon as it can.
    void connectAutomatically();
    // Disconnects everything, for good.
    void end();

    // Between two steps of the loop.
    void reap();
    bool isEmpty() const { return registrations_.empty() && leaving_.empty(); }

private:
    struct Request
    {
        bool isConnect;
        std::string group;
        RequestObserver* observer;
    };

    void review();
    void adopt(StoredProfiles profiles);
    void readIfUnsure();
    bool isHalfDone() const;
    void request(const Request& request);
    void carryOut(const Request& request);
    void start();
    void moveNames(const StoredProfiles& before, const ProfilePlaces& places);
    void moveRegistrations(const ProfilePlaces& places);
    std::set<std::string> groupsInUse() const;
    std::optional<SipProfile> profile(const std::string& group) const;
    void retry(Registration& registration);
    Registration& registration(const std::string& group);

    const SipServices services_;
    const std::string path_;      // of the settings file
    StoredProfiles profiles_;     // as they were last read, and as the registrations stand
    bool isRead_ = false;         // the last reading did not fail
    std::deque<Request> waiting_; // for the file to be done
    std::map<std::string, std::unique_ptr<Registration>> registrations_;
    std::vector<std::unique_ptr<Registration>> leaving_; // of deleted profiles
    std::map<uint32_t, std::string> names_;              // of the applications
    bool hasStarted_ = false;                            // what is to be connected from the start is
    bool isEnding_ = false;
    ProfileWatch watch_;
};

#endif
