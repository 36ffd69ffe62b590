// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileDelConfirmDlg.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ChoiceList.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QCheckBox>
#include <QLabel>

#include <utility>

namespace {
constexpr int ALL_LEFT = 155;
const char CHECK_ROW[] = "%C%T";
} // namespace

SETUP_SIP_ProfileDelConfirmDlg::SETUP_SIP_ProfileDelConfirmDlg(QWidget* parent, const char* name)
    : UTIL_Dialog(UTIL_Dialog::DialogType(0), false, parent, name, 1, 0)
{
    const QLabel* title = SETUP_SIP_AddTitle(this, tr("Delete", "2.6.11;DIALOG_TITLE"));

    auto* all = new QCheckBox(tr("All", "2.6.11;DIALOG_TITLE;Fixed=18"), getDlgContent());
    all->setGeometry(ALL_LEFT, 0, title->width() - ALL_LEFT, OrmuGlobal::getDlgTitleLR().height());
    all->setPalette(title->palette());

    profileList = SETUP_SIP_AddList(this, CHECK_ROW);
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
    for (const QString& name : std::as_const(store->displayNames))
        profileList->insertItem(SETUP_SIP_NewRow(profileList, CHECK_ROW, name), -1);
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
            SETUP_SIP_Agent::instance()->deleteProfile(row->getString(SETUP_SIP_NAME_COLUMN));
    }
    accept();
}

#include "moc_SETUP_SIP_ProfileDelConfirmDlg.cpp"
