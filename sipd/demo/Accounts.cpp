// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Accounts.h"

#include <algorithm>

Accounts::Accounts()
    : accounts_{
          {"anna", "secret", Conduct::Registers},
          {"reception", "secret", Conduct::Registers},
          {"ben", "not what the sample profile has", Conduct::Registers},
          {"banned", {}, Conduct::Forbids},
          {"busy", {}, Conduct::IsBusy},
          {"silent", {}, Conduct::KeepsSilent},
      }
{
}

bool Accounts::add(std::string_view text)
{
    const size_t colon = text.find(':');
    if (colon == 0 || colon == std::string_view::npos)
        return false;
    const Account account = {std::string(text.substr(0, colon)), std::string(text.substr(colon + 1))};
    std::erase_if(accounts_, [&](const Account& present) { return present.user == account.user; });
    accounts_.push_back(account);
    return true;
}

const Account* Accounts::find(std::string_view user) const
{
    const auto found =
        std::ranges::find_if(accounts_, [user](const Account& account) { return account.user == user; });
    return found == accounts_.end() ? nullptr : &*found;
}
