#include "ProfileMatch.h"

#include <algorithm>

namespace {

using Profile = StoredProfiles::value_type;

class Matching
{
public:
    Matching(const StoredProfiles& before, const StoredProfiles& now) : before_(before), now_(now) {}

    // Gives every profile that has no place yet the first free one where isSame holds.
    template <class IsSame>
    void place(const IsSame& isSame)
    {
        for (const Profile& old : before_) {
            if (places_.contains(old.first))
                continue;
            const auto found = std::find_if(now_.begin(), now_.end(), [&](const Profile& present) {
                return !taken_.contains(present.first) && isSame(old, present);
            });
            if (found == now_.end())
                continue;
            places_[old.first] = found->first;
            taken_.insert(found->first);
        }
    }

    // Profiles in use that have no place get that of a profile with the same content that is not.
    void prefer(const std::set<std::string>& inUse)
    {
        for (const Profile& old : before_) {
            if (places_.contains(old.first) || !inUse.contains(old.first))
                continue;
            const auto idle = std::find_if(places_.begin(), places_.end(), [&](const auto& place) {
                return !inUse.contains(place.first) && before_.at(place.first).content == old.second.content;
            });
            if (idle == places_.end())
                continue;
            places_[old.first] = idle->second;
            places_.erase(idle);
        }
    }

    ProfilePlaces places() const { return places_; }

private:
    const StoredProfiles& before_;
    const StoredProfiles& now_;
    ProfilePlaces places_;
    std::set<std::string> taken_;
};

} // namespace

ProfilePlaces matchProfiles(const StoredProfiles& before, const StoredProfiles& now,
                            const std::set<std::string>& inUse)
{
    const auto isSameNumber = [](const Profile& old, const Profile& present) {
        return old.first == present.first;
    };
    const auto isSameContent = [](const Profile& old, const Profile& present) {
        return old.second.content == present.second.content;
    };
    const auto isSameAccount = [](const Profile& old, const Profile& present) {
        return old.second.sip && old.second.sip == present.second.sip;
    };
    const auto isSameName = [](const Profile& old, const Profile& present) {
        return old.second.displayName == present.second.displayName;
    };
    Matching matching(before, now);
    const auto placeFirstAtSameNumber = [&](const auto& isSame) {
        matching.place([&](const Profile& old, const Profile& present) {
            return isSameNumber(old, present) && isSame(old, present);
        });
        matching.place(isSame);
    };
    placeFirstAtSameNumber(isSameContent);
    matching.prefer(inUse);
    placeFirstAtSameNumber(isSameAccount);
    placeFirstAtSameNumber(isSameName);
    matching.place(isSameNumber);
    return matching.places();
}
