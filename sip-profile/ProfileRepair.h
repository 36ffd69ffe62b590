#ifndef PROFILEREPAIR_H
#define PROFILEREPAIR_H

#include "ProfileFile.h"

// What tidyProfileFile() or repairProfileFile() did.
struct ProfileRepair
{
    // But for Repaired, the file stands as it was.
    enum Outcome {
        NothingToDo, // nothing was wrong
        Repaired,
        Damaged, // more than numbers is wrong; tidyProfileFile() alone
        Unread,  // the file cannot be read
        Failed,
    };
    Outcome outcome = NothingToDo;
    QString copy = {};  // the path of the old file's copy; empty when none is kept
    QString error = {}; // why nothing was repaired though something is wrong, for the user
};

// Both mend what ProfileFile finds in the store's file, and put the new file in its place as one atomic
// replacement. They block for the disk, and for other writers of the settings, which they hold off meanwhile.
// No store should be open.

// Mends what the store and the screens lead to by themselves: gaps in the numbers of the groups, a wrong
// count, and a default that the file does not name as it is marked. Keeps no copy: the profiles and their
// contents, the default and everything else in the file are the same before and after. Where more is wrong it
// changes nothing.
ProfileRepair tidyProfileFile(const QString& path);

// Mends everything. The profiles keep their order and all that is in them, but for this: their groups are
// numbered from Profile0 without gaps; the count is theirs; a profile without a name is called after its user
// and server, and the second of a name "name (2)"; where several are marked as the default, it is the profile
// that the file names, or else the first of them, and the mark and the name agree. The default stays that
// profile's under its new number. Groups of profiles that hold switches alone are left out. Comments and
// everything else in the file stay, and lines that cannot be read become comments.
//
// The old file is kept beside it as "ormu_sipsetup.cfg.old", ".old.1" and so on, of mode 0600.
ProfileRepair repairProfileFile(const QString& path);

// What repairProfileFile() would do beyond what tidyProfileFile() does: sentences for the user, which name
// profiles and never groups.
QStringList describeRepair(const QString& path);

#endif
