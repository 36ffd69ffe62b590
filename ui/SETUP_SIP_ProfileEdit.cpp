// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileEdit.h"

#include "NAPI_ListAllProfile.h"
#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "OrmuSkin.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_Form.h"
#include "SETUP_SIP_Question.h"
#include "UTIL_CST.h"
#include "qregexp.h"

#include <QCheckBox>
#include <QComboBox>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
constexpr int NETWORK_RECORD_SIZE = 64;
} // namespace

SETUP_SIP_ProfileEdit::SETUP_SIP_ProfileEdit(const QString& profileName, QWidget* parent, const char* name)
    : OrmuMainWidget(true, parent, name), isNewProfile(profileName.isEmpty()), initialName(profileName)
{
    if (isNewProfile)
        SETUP_SIP_Agent::instance()->setDefaultProfileInfo(record);
    else
        SETUP_SIP_Agent::instance()->getProfileInfo(record, profileName);
    createComponent();
    createSoftKeys();
    modified = false; // also when filling the form has signalled a change
}

void SETUP_SIP_ProfileEdit::createSoftKeys()
{
    auto* softKeys = new UTIL_CST(this, tr("Save", "3.3.1;CST_3BUTTON"), "", "CST_Back");
    setCSTWidget(softKeys);
    connect(softKeys->getMidBtn(), &QPushButton::clicked, this, &SETUP_SIP_ProfileEdit::slotSave);
    connect(softKeys->getRightBtn(), &QPushButton::clicked, this, &SETUP_SIP_ProfileEdit::slotQuit);
    softKeys->getLeftBtn()->setEnabled(false);
}

OrmuMultiLineEdit* SETUP_SIP_ProfileEdit::addEntry(const QString& text, int y)
{
    OrmuMultiLineEdit* entry = SETUP_SIP_NewEntry(this, text);
    connect(entry, &OrmuMultiLineEdit::textChanged, this, &SETUP_SIP_ProfileEdit::textChanged);
    getContentWidget()->addChild(entry, 0, y);
    return entry;
}

void SETUP_SIP_ProfileEdit::createComponent()
{
    SETUP_SIP_AddLabel(this, tr("Profile name:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 0);
    nameEdit = addEntry(record.displayName, 30);
    SETUP_SIP_AddLabel(this, tr("Server address:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 60);
    serverEdit = addEntry(record.server, 90);
    SETUP_SIP_AddLabel(this, tr("Port:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 120);
    portEdit = addEntry(QString::number(record.portNum), 150);
    portEdit->setFilter(QRegExp("[0-9]", true, false), true);
    portEdit->setGeometry(0, 150, SETUP_SIP_LINE_WIDTH, SETUP_SIP_LINE_HEIGHT);
    SETUP_SIP_AddLabel(this, tr("User Name:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 180);
    userEdit = addEntry(record.userID, 210);
    SETUP_SIP_AddLabel(this, tr("Password:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 240);
    passwordEdit = addEntry(record.password, 270);
    passwordEdit->setEchoMode(OrmuMultiLineEdit::Password);
    SETUP_SIP_AddLabel(this, tr("Internet Profile:", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"), 300);
    networkCombo = new QComboBox(getContentWidget());
    fillInternetProfile();
    getContentWidget()->addChild(networkCombo, 0, 330);
    autoConnectCheck =
        SETUP_SIP_NewCheckBox(this, tr("Auto connect when power on", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"),
                              record.autoConnect, 360);
    connect(autoConnectCheck, &QCheckBox::clicked, this, &SETUP_SIP_ProfileEdit::textChanged);
    getContentWidget()->addChild(autoConnectCheck, 0, 360);
}

void SETUP_SIP_ProfileEdit::fillInternetProfile()
{
    char first[NETWORK_RECORD_SIZE];
    int count = 1;
    if (NAPI_ListAllProfile(first, &count) != 0 || count <= 0)
        return;

    std::vector<char> records(static_cast<size_t>(count) * NETWORK_RECORD_SIZE);
    int listed = count;
    NAPI_ListAllProfile(records.data(), &listed);
    // The list may have grown or shrunk between the two calls.
    count = std::min(count, listed);

    int selected = 0;
    for (int i = 0; i < count; ++i) {
        const char* start = &records[static_cast<size_t>(i) * NETWORK_RECORD_SIZE];
        // A name that fills its record has no terminator.
        const auto length = static_cast<qsizetype>(strnlen(start, NETWORK_RECORD_SIZE));
        const QString name = QString::fromUtf8(start, length);
        networkCombo->insertItem(i, name);
        if (name == record.network)
            selected = i;
    }
    networkCombo->setCurrentIndex(selected);
}

int SETUP_SIP_ProfileEdit::checkInputValue() const
{
    if (nameEdit->text().isEmpty())
        return INPUT_MISSING;
    if (isNewProfile && SETUP_SIP_Agent::instance()->isProfileExisted(nameEdit->text()))
        return INPUT_NAME_EXISTS;
    if (serverEdit->text().isEmpty() || portEdit->text().isEmpty())
        return INPUT_MISSING;
    if (!record.needUserIDPass)
        return INPUT_GOOD;
    return userEdit->text().isEmpty() || passwordEdit->text().isEmpty() ? INPUT_MISSING : INPUT_GOOD;
}

void SETUP_SIP_ProfileEdit::slotSave()
{
    switch (checkInputValue()) {
    case INPUT_MISSING:
        refuse(tr("Some required value is not input, input again.", "99.99.99;DIALOG_ICON_50_WARP"));
        return;
    case INPUT_NAME_EXISTS:
        refuse(tr("Profile name already existed, try again.", "99.99.99;DIALOG_ICON_50_WARP"));
        return;
    case INPUT_GOOD:
        saveProfile();
        emit editDone(true);
    }
}

void SETUP_SIP_ProfileEdit::refuse(const QString& reason)
{
    OrmuMessageBox::information(nullptr, OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark"), reason,
                                tr("OK", "99.99.99;SOFTKEY_1BUTTON"), QString(), QString(), 1);
}

void SETUP_SIP_ProfileEdit::saveProfile()
{
    record.displayName = nameEdit->text();
    record.server = serverEdit->text();
    record.portNum = portEdit->text().toInt();
    record.userID = userEdit->text();
    record.password = passwordEdit->text();
    record.autoConnect = autoConnectCheck->isChecked();
    record.network = networkCombo->currentText();

    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    if (!isNewProfile && initialName != record.displayName)
        store->deleteProfile(initialName);
    initialName = record.displayName;
    store->setProfileInfo(record, initialName);
}

void SETUP_SIP_ProfileEdit::slotQuit()
{
    if (!modified) {
        emit editDone(false);
        return;
    }
    if (SETUP_SIP_Confirm(this, OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark"),
                          tr("Exit without saving?", "99.99.99;DIALOG_ICON_50_WARP"),
                          tr("OK", "99.99.99;SOFTKEY_2BUTTON"), tr("Cancel", "99.99.99;SOFTKEY_2BUTTON")))
        emit editDone(false);
}

void SETUP_SIP_ProfileEdit::textChanged()
{
    modified = true;
}

#include "moc_SETUP_SIP_ProfileEdit.cpp"
