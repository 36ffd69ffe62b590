// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef KEPTCONTACTS_H
#define KEPTCONTACTS_H

#include "FileDescriptor.h"
#include "SipProfile.h"

#include <string>
#include <vector>

// The contacts that servers may hold because of this daemon. They are also in a file, so that the daemon
// after one that was killed can remove them.
//
// The file has mode 0600 and is replaced as a whole. It contains servers, user names and contact URIs, and is
// gone when no server holds a contact. A daemon that cannot write it logs that once, and goes on without.
// Another daemon that uses the same directory has none until this one has ended.
class KeptContacts
{
public:
    // Reads the file of that absolute directory, which it makes. A damaged or foreign file is ignored.
    explicit KeptContacts(std::string directory);
    KeptContacts(const KeptContacts&) = delete;
    KeptContacts& operator=(const KeptContacts&) = delete;

    // The daemon's directory by its environment: STATE_DIRECTORY from a service manager, "sipd" in
    // XDG_STATE_HOME, or .local/state/sipd in the home directory. Empty without any.
    static std::string standardDirectory();
    // The server and the user of a profile, in the form of the file.
    static std::string accountOf(const SipProfile& profile);

    // An attempt that lives may give the contact to a server.
    void hold(const std::string& account, const std::string& contact);
    // No attempt cares for a held contact any more: the account's next REGISTER should remove it.
    void leave(const std::string& account, const std::string& contact);
    // No server has it any more.
    void drop(const std::string& account, const std::string& contact);
    // The contacts that the account's next REGISTER should remove, the last four at most.
    std::vector<std::string> left(const std::string& account) const;

private:
    struct Entry
    {
        std::string account;
        std::string contact;
        bool isLeft = false;
    };

    std::vector<Entry>::iterator find(const std::string& account, const std::string& contact);
    void limit(const std::string& account);
    bool open();
    void read();
    void save();
    bool write(const std::string& text) const;

    const std::string path_;   // of the directory
    FileDescriptor directory_; // locked
    std::vector<Entry> entries_;
    bool hasFailed_ = false;
};

#endif
