// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileMatch.h"

#include <algorithm>
#include <deque>
#include <tuple>

namespace {

using Profile = StoredProfiles::value_type;

// Orders of profiles. Profiles that a pass treats as the same are equal in its order.
bool isContentLess(const Profile* first, const Profile* second)
{
    return first->second.content < second->second.content;
}

// Both must have an account.
bool isAccountLess(const Profile* first, const Profile* second)
{
    const auto key = [](const Profile* profile) {
        const SipProfile& sip = *profile->second.sip;
        return std::tie(sip.registrar.host, sip.registrar.port, sip.registrar.transport,
                        sip.registrar.numeric, sip.registrar.defaultPort, sip.user, sip.password);
    };
    return key(first) < key(second);
}

bool isNameLess(const Profile* first, const Profile* second)
{
    return first->second.displayName < second->second.displayName;
}

using IsLess = bool (*)(const Profile*, const Profile*);
// Groups of profiles that are the same.
using Alike = std::map<const Profile*, std::deque<const Profile*>, IsLess>;

class Matching
{
public:
    Matching(const StoredProfiles& before, const StoredProfiles& now) : before_(before), now_(now) {}

    // Places every old profile without a place at its own number, if the profile there is the same.
    template <class IsSame>
    void placeAtSameNumber(const IsSame& isSame)
    {
        for (const Profile& old : before_) {
            const auto found = now_.find(old.first);
            if (!places_.contains(old.first) && found != now_.end() && !taken_.contains(old.first) &&
                isSame(old, *found))
                place(old, found->first);
        }
    }

    // Places every old profile of this pass without a place at the first free profile that is the same.
    template <class Concerns>
    void placeAtFirst(IsLess isLess, const Concerns& concerns)
    {
        Alike free(isLess);
        for (const Profile& present : now_) {
            if (concerns(present) && !taken_.contains(present.first))
                free[&present].push_back(&present);
        }
        for (const Profile& old : before_) {
            if (!concerns(old) || places_.contains(old.first))
                continue;
            const auto found = free.find(&old);
            if (found == free.end() || found->second.empty())
                continue;
            place(old, found->second.front()->first);
            found->second.pop_front();
        }
    }

    // Gives profiles in use without a place that of a profile with the same content that is not in use.
    void prefer(const std::set<std::string>& inUse)
    {
        Alike idle(isContentLess);
        for (const Profile& old : before_) {
            if (places_.contains(old.first) && !inUse.contains(old.first))
                idle[&old].push_back(&old);
        }
        for (const Profile& old : before_) {
            if (places_.contains(old.first) || !inUse.contains(old.first))
                continue;
            const auto found = idle.find(&old);
            if (found == idle.end() || found->second.empty())
                continue;
            const auto former = places_.find(found->second.front()->first);
            places_[old.first] = former->second;
            places_.erase(former);
            found->second.pop_front();
        }
    }

    ProfilePlaces places() const { return places_; }

private:
    void place(const Profile& old, const std::string& group)
    {
        places_[old.first] = group;
        taken_.insert(group);
    }

    const StoredProfiles& before_;
    const StoredProfiles& now_;
    ProfilePlaces places_;
    std::set<std::string> taken_;
};

} // namespace

// A settings file may have thousands of profiles, and the loop waits meanwhile: no pass is quadratic.
ProfilePlaces matchProfiles(const StoredProfiles& before, const StoredProfiles& now,
                            const std::set<std::string>& inUse)
{
    const auto isAny = [](const Profile&) { return true; };
    const auto hasAccount = [](const Profile& profile) { return profile.second.sip.has_value(); };
    Matching matching(before, now);
    matching.placeAtSameNumber([](const Profile& old, const Profile& present) {
        return old.second.content == present.second.content;
    });
    matching.placeAtFirst(isContentLess, isAny);
    matching.prefer(inUse);
    matching.placeAtSameNumber([](const Profile& old, const Profile& present) {
        return old.second.sip && old.second.sip == present.second.sip;
    });
    matching.placeAtFirst(isAccountLess, hasAccount);
    matching.placeAtSameNumber([](const Profile& old, const Profile& present) {
        return old.second.displayName == present.second.displayName;
    });
    matching.placeAtFirst(isNameLess, isAny);
    matching.placeAtSameNumber([](const Profile&, const Profile&) { return true; });
    return matching.places();
}
