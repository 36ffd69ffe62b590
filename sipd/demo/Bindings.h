// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef BINDINGS_H
#define BINDINGS_H

#include <chrono>
#include <functional>
#include <map>
#include <string>

// Who is registered at which address, and until when.
class Bindings
{
public:
    using Clock = std::chrono::steady_clock;

    // Hears of every binding that comes, is renewed or goes, in words.
    using Listener = std::function<void(const std::string& user, const std::string& event)>;

    explicit Bindings(Listener listener);

    // Binds the user to the contact, a URI, for this long from now on; zero seconds ends the binding.
    void set(const std::string& user, const std::string& contact, std::chrono::seconds lifetime,
             Clock::time_point now);
    void removeAll(const std::string& user);
    // Ends the bindings whose time is over.
    void expire(Clock::time_point now);

    // The user's bindings as the value of a Contact header; empty when there is none.
    std::string contactHeader(const std::string& user, Clock::time_point now) const;

private:
    using Ends = std::map<std::string, Clock::time_point>; // by contact

    Listener listener_;
    std::map<std::string, Ends> users_;
};

#endif
