// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_PROFILEEDIT_H
#define SETUP_SIP_PROFILEEDIT_H

#include "OrmuMainWidget.h"
#include "SIP_PROFILE_CONTENT.h"

class OrmuMultiLineEdit;
class QCheckBox;
class QComboBox;

// The form on which the user enters or changes a SIP profile. It works on a copy of the profile; only "Save"
// writes the copy to the store. It never deletes itself: the opener deletes it on editDone(), which may be
// inside the connected slot.
class SETUP_SIP_ProfileEdit : public OrmuMainWidget
{
    Q_OBJECT

public:
    // profileName: the stored profile to edit; empty for a new profile.
    explicit SETUP_SIP_ProfileEdit(const QString& profileName, QWidget* parent = nullptr,
                                   const char* name = nullptr);

signals:
    // The user is done. saved: the profile was written to the store.
    void editDone(bool saved);

protected slots:
    void slotSave();
    void slotQuit();
    void textChanged();

private:
    enum InputCheck { INPUT_GOOD = 0, INPUT_MISSING = 1, INPUT_NAME_EXISTS = 2 };

    void createComponent();
    void createSoftKeys();
    OrmuMultiLineEdit* addEntry(const QString& text, int y);
    void fillInternetProfile();
    int checkInputValue() const;
    void saveProfile();
    void refuse(const QString& reason);

    OrmuMultiLineEdit* nameEdit = nullptr;
    OrmuMultiLineEdit* serverEdit = nullptr;
    OrmuMultiLineEdit* portEdit = nullptr;
    OrmuMultiLineEdit* userEdit = nullptr;
    OrmuMultiLineEdit* passwordEdit = nullptr;
    QComboBox* networkCombo = nullptr;
    QCheckBox* autoConnectCheck = nullptr;
    bool isNewProfile;
    bool modified = false; // the user changed an entry or the check box
    QString initialName;   // the profile's name in the store; empty for a new profile
    SIP_PROFILE_CONTENT record;
};

#endif
