// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PHONEPROFILES_H
#define PHONEPROFILES_H

class QString;
class RepairDialogue;

// The parts of the phone that need the setup library at link time. They are in a module, "phone-profiles",
// which the phone loads when it needs them.

// To be called before a screen opens that loads the SIP profiles. Puts the profiles in order, see
// putProfilesInOrder(). While another user has the SIP daemon's socket it tells that instead: the screen
// would wait for that user forever. Returns true when the screen may open.
extern "C" bool mayOpenProfiles(RepairDialogue& user);

// To be called when the list of profiles has closed. Puts their numbers in order for other programs. Failures
// are not told: the next mayOpenProfiles() tries again.
extern "C" void tidyProfiles();

// Lets the user choose a SIP profile with the setup library's chooser, as any other program on the phone
// does. name: in, the profile to mark, by its display name; out, the chosen one's. group: out, the chosen
// one's group. Both are "" when no profile is marked. Returns false, and changes neither, when the user
// cancels.
extern "C" bool chooseSipProfile(QString& name, QString& group);

#endif
