#include "RepairDecision.h"

#include "ProfileFile.h"
#include "ProfileRepair.h"

#include <QFileInfo>

bool RepairDecision::mayOpen()
{
    const ProfileRepair tidied = tidyProfileFile(ProfileFile::path());
    switch (tidied.outcome) {
    case ProfileRepair::NothingToDo:
    case ProfileRepair::Repaired:
        return true;
    case ProfileRepair::Damaged:
        return repair();
    case ProfileRepair::Unread:
        // What is no file at all, say, a directory, holds no profiles.
        if (!QFileInfo(ProfileFile::path()).isFile())
            return true;
        break;
    case ProfileRepair::Failed:
        break;
    }
    // As it is, the list may show a profile twice, or search without end.
    tellFailure(
        tr("The SIP profiles cannot be put in order. %1", "99.99.99;DIALOG_ICON_50_WARP").arg(tidied.error));
    return false;
}

bool RepairDecision::repair()
{
    QStringList lines = {
        tr("The SIP profiles are damaged. A repair does this:", "99.99.99;DIALOG_ICON_50_WARP")};
    for (const QString& sentence : describeRepair(ProfileFile::path()))
        lines += QStringLiteral("– ") + sentence;
    lines += tr("The old file is kept.", "99.99.99;DIALOG_ICON_50_WARP");
    if (!asksForRepair(lines.join(u'\n')))
        return false;

    const ProfileRepair done = repairProfileFile(ProfileFile::path());
    if (!done.error.isEmpty()) {
        tellFailure(
            tr("The SIP profiles are not repaired. %1", "99.99.99;DIALOG_ICON_50_WARP").arg(done.error));
        return false;
    }
    if (done.outcome == ProfileRepair::Repaired)
        tellSuccess(
            tr("The SIP profiles are repaired. The old file is kept as %1.", "99.99.99;DIALOG_ICON_50_WARP")
                .arg(QFileInfo(done.copy).fileName()));
    return true;
}
