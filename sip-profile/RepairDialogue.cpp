// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RepairDialogue.h"

#include "ProfileFile.h"
#include "ProfileRepair.h"

#include <QFileInfo>

namespace {

class RepairTexts
{
    Q_DECLARE_TR_FUNCTIONS(RepairDialogue)

public:
    static QString question()
    {
        QStringList lines = {
            tr("The SIP profiles are damaged. A repair does this:", "99.99.99;DIALOG_ICON_50_WARP")};
        for (const QString& sentence : describeRepair(ProfileFile::path()))
            lines += QStringLiteral("– ") + sentence;
        lines += tr("The old file is kept.", "99.99.99;DIALOG_ICON_50_WARP");
        return lines.join(u'\n');
    }
    static QString notInOrder()
    {
        return tr("The SIP profiles cannot be put in order. %1", "99.99.99;DIALOG_ICON_50_WARP");
    }
    static QString notRepaired()
    {
        return tr("The SIP profiles are not repaired. %1", "99.99.99;DIALOG_ICON_50_WARP");
    }
    static QString repaired()
    {
        return tr("The SIP profiles are repaired. The old file is kept as %1.",
                  "99.99.99;DIALOG_ICON_50_WARP");
    }
};

bool repair(RepairDialogue& user)
{
    if (!user.ask(RepairTexts::question()))
        return false;
    const ProfileRepair done = repairProfileFile(ProfileFile::path());
    if (!done.error.isEmpty()) {
        user.tell(RepairDialogue::Failure, RepairTexts::notRepaired().arg(done.error));
        return false;
    }
    if (done.outcome == ProfileRepair::Repaired)
        user.tell(RepairDialogue::Success, RepairTexts::repaired().arg(QFileInfo(done.copy).fileName()));
    return true;
}

} // namespace

bool putProfilesInOrder(RepairDialogue& user)
{
    const ProfileRepair tidied = tidyProfileFile(ProfileFile::path());
    if (tidied.outcome == ProfileRepair::Damaged)
        return repair(user);
    // A directory of that name holds no profiles: the list may open.
    const bool isNoFile = tidied.outcome == ProfileRepair::Unread && !QFileInfo(ProfileFile::path()).isFile();
    if (tidied.error.isEmpty() || isNoFile)
        return true;
    user.tell(RepairDialogue::Failure, RepairTexts::notInOrder().arg(tidied.error));
    return false;
}
