#ifndef PROFILEMATCH_H
#define PROFILEMATCH_H

#include "SipProfile.h"

#include <set>
#include <string>

// Where each profile of an older reading stands in a newer one: old group to new group. A profile that is
// missing in the result has been deleted; no two profiles get one group.
//
// A profile is found by its content; one that has changed by its account with a server, or else by its
// display name, or else by its number. Each is first looked for under its own number. Of several profiles
// with the same content those in inUse are the last to be missed.
using ProfilePlaces = std::map<std::string, std::string, GroupOrder>;
ProfilePlaces matchProfiles(const StoredProfiles& before, const StoredProfiles& now,
                            const std::set<std::string>& inUse);

#endif
