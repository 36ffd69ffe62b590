#ifndef PROFILEREPAIR_H
#define PROFILEREPAIR_H

#include "ProfileFile.h"

#include <functional>

// What repairProfileFile() did.
struct ProfileRepair
{
    enum Outcome {
        NothingToDo, // nothing was wrong; the file stands as it was
        Repaired,
        Failed, // the file stands as it was
        Held,   // the profiles were not released; the file stands as it was
    };
    Outcome outcome = NothingToDo;
    QString copy;  // where the old file is kept, once it is repaired
    QString error; // why nothing was repaired though something is wrong, for the user
};

// Mends all that ProfileFile finds in the store's file. The profiles keep their order and all that is in
// them, but for this: their groups are numbered from Profile0 without gaps; the count is theirs; a profile
// without a name is called after its user and server, and the second of a name "name (2)"; where several are
// marked as the default, it is the profile that the file names, or else the first of them, and the mark and
// the name agree. The default stays that profile's under its new number. Groups of profiles that hold
// switches alone are left out. Comments and everything else in the file stay, and lines that cannot be read
// become comments.
//
// The old file is kept beside it as "ormu_sipsetup.cfg.old", ".old.1" and so on, of mode
// 0600; then the repaired one takes its place as one atomic replacement. Blocks for the disk, and for other
// writers of the settings, whom it holds off meanwhile. No store should be open.
//
// The daemon knows profiles by the numbers of their groups. Right before the replacement release is called,
// if given, with the profiles of the old file; unless it gives true nothing is replaced.
using Release = std::function<bool(const QList<ProfileFile::Profile>&)>;
ProfileRepair repairProfileFile(const QString& path, const Release& release = nullptr);

#endif
