#include "SETUP_SIP_ProfileDelConfirmDlg.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QCheckBox>
#include <QLabel>

#include <utility>

namespace {
constexpr int TITLE_INDENT = 5;
constexpr int ALL_LEFT = 155;
constexpr int TEXT_COLUMN = 1;
const char ROW_FORMAT[] = "%C%T";
} // namespace

SETUP_SIP_ProfileDelConfirmDlg::SETUP_SIP_ProfileDelConfirmDlg(QWidget* parent, const char* name)
    : UTIL_Dialog(UTIL_Dialog::DialogType(0), false, parent, name, 1, 0)
{
    QWidget* content = getDlgContent();
    const int titleHeight = OrmuGlobal::getDlgTitleLR().height();

    auto* title = new QLabel(tr("Delete", "2.6.11;DIALOG_TITLE"), content);
    title->setIndent(TITLE_INDENT);
    title->setGeometry(OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), OrmuGlobal::getDlgTitleLR()));

    auto* all = new QCheckBox(tr("All", "2.6.11;DIALOG_TITLE;Fixed=18"), content);
    all->setGeometry(ALL_LEFT, 0, title->width() - ALL_LEFT, titleHeight);
    all->setPalette(title->palette());

    profileList = new UTIL_ListBox(ROW_FORMAT, content, 0);
    profileList->setGeometry(0, titleHeight, content->width(), content->height() - titleHeight);
    initChoice();
    connect(all, &QCheckBox::toggled, this, &SETUP_SIP_ProfileDelConfirmDlg::selectAll);

    auto* softKeys = new UTIL_DlgCST(this, UTIL_DlgCST::DlgCstType(1));
    softKeys->getBtn2()->setText(tr("Cancel", "2.6.11;SOFTKEY_2BUTTON"));
    softKeys->getBtn1()->setText(tr("OK", "2.6.11;SOFTKEY_2BUTTON"));
    connect(softKeys->getBtn2(), &QPushButton::clicked, this, &SETUP_SIP_ProfileDelConfirmDlg::reject);
    connect(softKeys->getBtn1(), &QPushButton::clicked, this,
            &SETUP_SIP_ProfileDelConfirmDlg::deleteProfiles);
    setDlgCst(softKeys);
}

void SETUP_SIP_ProfileDelConfirmDlg::initChoice()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    if (store->profileCount() < 1)
        return;
    for (const QString& name : std::as_const(store->displayNames)) {
        auto* row = new UTIL_ListBoxItem(profileList, ROW_FORMAT, false);
        row->setString(TEXT_COLUMN, name);
        profileList->insertItem(row, -1);
    }
}

void SETUP_SIP_ProfileDelConfirmDlg::selectAll(bool on)
{
    for (int i = 0; i < profileList->count(); ++i)
        profileList->checkItem(i, on);
}

void SETUP_SIP_ProfileDelConfirmDlg::deleteProfiles()
{
    for (int i = 0; i < profileList->count(); ++i) {
        const auto* row = static_cast<UTIL_ListBoxItem*>(profileList->item(i));
        if (row->isChecked())
            SETUP_SIP_Agent::instance()->deleteProfile(row->getString(TEXT_COLUMN));
    }
    accept();
}
