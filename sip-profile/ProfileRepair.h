// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILEREPAIR_H
#define PROFILEREPAIR_H

#include "ProfileFile.h"

// The result of tidyProfileFile() or repairProfileFile(). The file has changed only if it is Repaired.
struct ProfileRepair
{
    enum Outcome {
        NothingToDo, // nothing was wrong
        Repaired,
        Damaged, // only repairProfileFile() can help
        Unread,  // the file cannot be read
        Failed,
    };
    Outcome outcome = NothingToDo;
    QString copy = {};  // the path of the old file's copy; "" when none was kept
    QString error = {}; // a sentence for the user, unless the outcome is NothingToDo or Repaired
};

// Both remove the faults that ProfileFile finds. They compare the result with the old file before they write
// it, and replace the file as one atomic step. They block for the disk and for other writers of the settings,
// which wait for them too. No store may be open.

// Removes the faults that the store and the screens cause in ordinary use: gaps in the numbers of the groups,
// a wrong count, a mark and a name of the default that disagree. Keeps no copy. A file with other faults is
// Damaged.
ProfileRepair tidyProfileFile(const QString& path);

// Removes all faults. The profiles keep their order and contents, with these exceptions:
//
// - Their groups are numbered from Profile0 without gaps, and counted.
// - A profile without a name is called after its user and server. The second profile of a name becomes "name
// (2)".
// - One profile is the default, or none: of several the one that the file names, or else the first.
// - A group of a deleted profile, which holds nothing but switches, is left out.
// - A line that cannot be read becomes a comment.
//
// Comments and everything else stay. The old file is kept beside the new one as "ormu_sipsetup.cfg.old",
// ".old.1" and so on, of mode 0600.
ProfileRepair repairProfileFile(const QString& path);

// The changes that repairProfileFile() would make and tidyProfileFile() would not: sentences for the user,
// which name profiles and never groups. Empty unless the file is damaged.
QStringList describeRepair(const QString& path);

#endif
