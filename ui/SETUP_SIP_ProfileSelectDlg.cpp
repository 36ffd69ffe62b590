// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileSelectDlg.h"

#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ChoiceList.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

namespace {
const char RADIO_ROW[] = "%R%T";
} // namespace

SETUP_SIP_ProfileSelectDlg::SETUP_SIP_ProfileSelectDlg(QString& profile, QWidget* parent, const char* name)
    : UTIL_Dialog(UTIL_Dialog::DialogType(0), false, parent, name, 1, 0), profileName(profile)
{
    SETUP_SIP_AddTitle(this, tr("Select Profile", "2.6.11;DIALOG_TITLE"));
    listBox = SETUP_SIP_AddList(this, RADIO_ROW);
    initChoice();

    auto* softKeys = new UTIL_DlgCST(this, UTIL_DlgCST::DlgCstType(1));
    softKeys->getBtn2()->setText(tr("Cancel", "2.6.11;SOFTKEY_2BUTTON"));
    connect(softKeys->getBtn2(), &QPushButton::clicked, this, &SETUP_SIP_ProfileSelectDlg::reject);
    softKeys->getBtn1()->setText(tr("OK", "2.6.11;SOFTKEY_2BUTTON"));
    connect(softKeys->getBtn1(), &QPushButton::clicked, this, &SETUP_SIP_ProfileSelectDlg::accept);
    setDlgCst(softKeys);
}

SETUP_SIP_ProfileSelectDlg::~SETUP_SIP_ProfileSelectDlg()
{
    SETUP_SIP_Agent::cleanup();
}

void SETUP_SIP_ProfileSelectDlg::initChoice()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    const QValueList<QString> names = store->displayNames;
    const QString chosen = SETUP_SIP_Agent::getProfileDisplayName(profileName);
    if (store->profileCount() <= 0)
        return;
    for (const QString& name : names) {
        UTIL_ListBoxItem* row = SETUP_SIP_NewRow(listBox, RADIO_ROW, name);
        listBox->insertItem(row, -1);
        if (name == chosen)
            listBox->checkItem(row, true);
    }
}

QString SETUP_SIP_ProfileSelectDlg::getSelectedProfile()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (int i = 0; i < store->profileCount(); ++i)
        if (listBox->itemChecked(i))
            store->getProfileGroupName(listBox->item(i)->text(), profileName);
    return profileName;
}

#include "moc_SETUP_SIP_ProfileSelectDlg.cpp"
