// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILEMATCH_H
#define PROFILEMATCH_H

#include "SipProfile.h"

#include <set>
#include <string>

// Finds the profiles of an older reading in a newer one. The result maps old groups to new groups. A profile
// that it does not contain has been deleted. No two profiles get the same group.
//
// Profiles match by their content, then by their account with a server, then by their display name, then by
// their number. Each rule tries the old number first. Of several profiles with the same content, those in
// inUse find a place first.
using ProfilePlaces = std::map<std::string, std::string, GroupOrder>;
ProfilePlaces matchProfiles(const StoredProfiles& before, const StoredProfiles& now,
                            const std::set<std::string>& inUse);

#endif
