// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ACCOUNTS_H
#define ACCOUNTS_H

#include <string>
#include <string_view>
#include <vector>

// What the demo registrar does when somebody wants to register as an account.
enum class Conduct {
    Registers,   // who knows the password
    Forbids,     // 403, whatever the password
    IsBusy,      // 503
    KeepsSilent, // no answer at all
};

struct Account
{
    std::string user;
    std::string password;
    Conduct conduct = Conduct::Registers;
};

// The accounts of the demo registrar: some that are always there, and those that files add.
class Accounts
{
public:
    Accounts();

    // Takes "USER:PASSWORD"; the user must not be empty, the password may hold colons. It replaces an account
    // of that user. False, and nothing changes, when the text is not of that form.
    bool add(std::string_view text);

    // Null when there is no such account. Valid until the next add().
    const Account* find(std::string_view user) const;

private:
    std::vector<Account> accounts_;
};

#endif
