#ifndef REGISTRATIONS_H
#define REGISTRATIONS_H

#include "Registration.h"

#include <map>
#include <memory>
#include <string>

// The connections of all profiles, by their group names. Requesters are told the end of a request at once, or
// from the loop.
class Registrations
{
public:
    explicit Registrations(const SipServices& services) : services_(services) {}

    void connect(const std::string& group, Requester* requester);
    void disconnect(const std::string& group, Requester* requester);
    ConnectionStatus status(const std::string& group) const;
    void forget(Requester* requester);

    // Connects every profile that is to be connected from the start; when the settings file is damaged, as
    // soon as it has been mended.
    void connectAutomatically();
    // The settings file may have changed.
    void review();
    // Disconnects everything, for good.
    void end();

    // Between two steps of the loop.
    void reap();
    bool isEmpty() const { return registrations_.empty(); }

private:
    Registration& registration(const std::string& group);

    const SipServices services_;
    std::map<std::string, std::unique_ptr<Registration>> registrations_;
    bool hasStarted_ = false; // what is to be connected from the start is
};

#endif
