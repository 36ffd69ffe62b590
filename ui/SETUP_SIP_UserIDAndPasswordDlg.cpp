// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_UserIDAndPasswordDlg.h"

#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_Form.h"
#include "UTIL_CST.h"

#include <QCheckBox>
#include <QPointer>

SETUP_SIP_UserIDAndPasswordDlg::SETUP_SIP_UserIDAndPasswordDlg(QString& userID, QString& password,
                                                               bool remember,
                                                               SIP_PROFILE_CONTENT& profileToConnect,
                                                               QWidget* parent, const char* name)
    : OrmuMainWidget(true, parent, name, 0), profile(profileToConnect)
{
    SETUP_SIP_AddLabel(this, tr("User Name:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 0);
    userEdit = SETUP_SIP_NewEntry(this, userID);
    getContentWidget()->addChild(userEdit, 0, 30);
    SETUP_SIP_AddLabel(this, tr("Password:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 60);
    passwordEdit = SETUP_SIP_NewEntry(this, password);
    getContentWidget()->addChild(passwordEdit, 0, 90);
    passwordEdit->setEchoMode(OrmuMultiLineEdit::Password);
    rememberCheck = SETUP_SIP_NewCheckBox(
        this, tr("Remember the password", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), remember, 120);
    getContentWidget()->addChild(rememberCheck, 0, 120);
    createSoftKeys();
}

void SETUP_SIP_UserIDAndPasswordDlg::createSoftKeys()
{
    auto* softKeys = new UTIL_CST(this, tr("OK", "3.3.1;CST_3BUTTON"), "", "CST_Back");
    setCSTWidget(softKeys);
    softKeys->getLeftBtn()->setEnabled(false);
    connect(softKeys->getMidBtn(), &QPushButton::clicked, this, &SETUP_SIP_UserIDAndPasswordDlg::slotOK);
    connect(softKeys->getRightBtn(), &QPushButton::clicked, this, &SETUP_SIP_UserIDAndPasswordDlg::slotQuit);
}

void SETUP_SIP_UserIDAndPasswordDlg::slotOK()
{
    const QString user = userEdit->text();
    QString pass = passwordEdit->text();
    const bool remember = rememberCheck->isChecked();
    const bool ok = user == profile.userID && pass == profile.password;
    if (!ok) {
        const QString reason = user != profile.userID
                                   ? tr("Incorrect User name", "2.6.11;DIALOG_CONTEXT_ICON2_WITH_SCROLL")
                                   : tr("Incorrect Password", "2.6.11;DIALOG_CONTEXT_ICON2_WITH_SCROLL");
        const QPointer<SETUP_SIP_UserIDAndPasswordDlg> self(this);
        if (wantsRetry(reason) || self.isNull())
            return;
    }
    if (!remember)
        pass = QString("");
    SETUP_SIP_Agent::saveLastInputUserIDPassword(user, pass, remember);
    emit inputDone(ok);
}

bool SETUP_SIP_UserIDAndPasswordDlg::wantsRetry(const QString& reason) const
{
    OrmuMessageBox box(nullptr, RES_ICON_Reader().getIcon("Dialog_Exclamatory_Mark.jpg"), reason,
                       tr("Retry", "2.6.11;SOFTKEY_2BUTTON"), tr("Cancel", "2.6.11;SOFTKEY_2BUTTON"),
                       QString(), 1);
    return box.exec() == 0;
}

void SETUP_SIP_UserIDAndPasswordDlg::slotQuit()
{
    emit inputDone(false);
}

#include "moc_SETUP_SIP_UserIDAndPasswordDlg.cpp"
