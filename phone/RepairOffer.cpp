#include "RepairOffer.h"

#include "DaemonOwner.h"
#include "OrmuMessageBox.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "RES_ICON_Reader.h"
#include "RepairDecision.h"

namespace {

// The questions and answers before a list of profiles opens.
class RepairDialogs : public RepairDecision
{
    Q_DECLARE_TR_FUNCTIONS(RepairDialogs)

public:
    void tellFailure(const QString& text) override { tell("Dialog_Exclamatory_Mark.gif", text); }

protected:
    bool asksForRepair(const QString& question) override
    {
        return OrmuMessageBox::information(nullptr, RES_ICON_Reader().getIcon("Dialog_Exclamatory_Mark.gif"),
                                           question, tr("Repair", "3.3.1;CST_3BUTTON"),
                                           tr("Back", "3.3.1;CST_3BUTTON"), QString(), 1) == 0;
    }

    void tellSuccess(const QString& text) override { tell("Dialog_Complete.gif", text); }

private:
    static void tell(const char* icon, const QString& text)
    {
        OrmuMessageBox::information(nullptr, RES_ICON_Reader().getIcon(icon), text,
                                    tr("OK", "99.99.99;SOFTKEY_1BUTTON"), QString(), QString(), 1);
    }
};

} // namespace

bool offerProfileRepair()
{
    RepairDialogs dialogs;
    // The list, once open, would wait for that user without end.
    if (const auto stranger = strangerOnDaemonSocket()) {
        dialogs.tellFailure(describeStranger(*stranger));
        return false;
    }
    return dialogs.mayOpen();
}

void tidyProfiles()
{
    tidyProfileFile(ProfileFile::path());
}
