#include "RepairOffer.h"

#include "DaemonLink.h"
#include "DaemonOwner.h"
#include "OrmuMessageBox.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "RES_ICON_Reader.h"

#include <QFileInfo>

namespace {

using Profile = ProfileFile::Profile;

// The questions and answers before a list of profiles opens.
class RepairOffer
{
    Q_DECLARE_TR_FUNCTIONS(RepairOffer)

public:
    // True when the profiles may be opened.
    static bool settle();

private:
    enum Answer { Repair, Open, Back };

    static Answer askFor(const ProfileFile& file);
    static bool repair(const ProfileFile& file);
    static bool disconnectAll(const QList<Profile>& profiles);
    static bool disconnect(const Profile& profile);
    static void tell(const char* icon, const QString& text);
};

bool RepairOffer::settle()
{
    // The list, once open, would wait for him without end.
    if (const auto stranger = strangerOnDaemonSocket()) {
        tell("Dialog_Exclamatory_Mark.gif", describeStranger(*stranger));
        return false;
    }
    for (;;) {
        const ProfileFile file(ProfileFile::path());
        if (file.findings().isEmpty())
            return true;
        const Answer answer = askFor(file);
        if (answer != Repair)
            return answer == Open;
        if (repair(file))
            return true;
    }
}

RepairOffer::Answer RepairOffer::askFor(const ProfileFile& file)
{
    QString text = tr("Something is wrong with the SIP profiles.", "99.99.99;DIALOG_ICON_50_WARP");
    for (const ProfileFile::Finding& finding : file.findings())
        text += u'\n' + finding.text;
    QList<Answer> answers;
    QStringList keys;
    if (file.canRepair()) {
        answers += Repair;
        keys += tr("Repair", "3.3.1;CST_3BUTTON");
    }
    if (!file.has(ProfileFile::Finding::Endless)) {
        answers += Open;
        keys += tr("Open", "3.3.1;CST_3BUTTON");
    }
    answers += Back;
    keys += tr("Back", "3.3.1;CST_3BUTTON");
    const int pressed =
        OrmuMessageBox::information(nullptr, RES_ICON_Reader().getIcon("Dialog_Exclamatory_Mark.gif"), text,
                                    keys.value(0), keys.value(1), keys.value(2), 1);
    return answers.value(pressed, Back);
}

bool RepairOffer::repair(const ProfileFile& file)
{
    const auto held = heldProfiles(file.profiles());
    if (!held) {
        tell("Dialog_Exclamatory_Mark.gif", tr("The SIP daemon does not say whether a profile is connected.",
                                               "99.99.99;DIALOG_ICON_50_WARP"));
        return false;
    }
    if (!held->isEmpty() && !disconnectAll(*held))
        return false;
    const ProfileRepair done = repairProfileFile(ProfileFile::path(), releaseProfiles);
    if (!done.error.isEmpty()) {
        tell("Dialog_Exclamatory_Mark.gif", done.error);
        return false;
    }
    if (done.outcome == ProfileRepair::Repaired)
        tell("Dialog_Complete.gif",
             tr("The SIP profiles are repaired. The old file is kept as %1.", "99.99.99;DIALOG_ICON_50_WARP")
                 .arg(QFileInfo(done.copy).fileName()));
    return true;
}

// The daemon knows a profile by its number, which the repair may change.
bool RepairOffer::disconnectAll(const QList<Profile>& profiles)
{
    for (const Profile& profile : profiles) {
        const QString question = tr("%1 is connected or being connected. Disconnect it for the repair?",
                                    "99.99.99;DIALOG_ICON_50_WARP")
                                     .arg(describe(profile));
        const int pressed = OrmuMessageBox::information(
            nullptr, RES_ICON_Reader().getIcon("Dialog_Question_Mark.jpg"), question,
            tr("OK", "99.99.99;SOFTKEY_2BUTTON"), tr("Cancel", "99.99.99;SOFTKEY_2BUTTON"), QString(), 1);
        if (pressed != 0)
            return false;
        if (!disconnect(profile)) {
            tell("Dialog_Exclamatory_Mark.gif",
                 tr("%1 cannot be disconnected.", "99.99.99;DIALOG_ICON_50_WARP").arg(describe(profile)));
            return false;
        }
    }
    return true;
}

bool RepairOffer::disconnect(const Profile& profile)
{
    DaemonLink link;
    return link.state() == DaemonLink::Open && link.disconnect(profile.group);
}

void RepairOffer::tell(const char* icon, const QString& text)
{
    OrmuMessageBox::information(nullptr, RES_ICON_Reader().getIcon(icon), text,
                                tr("OK", "99.99.99;SOFTKEY_1BUTTON"), QString(), QString(), 1);
}

} // namespace

bool offerProfileRepair()
{
    return RepairOffer::settle();
}
