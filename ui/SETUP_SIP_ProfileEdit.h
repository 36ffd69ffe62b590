#ifndef SETUP_SIP_PROFILEEDIT_H
#define SETUP_SIP_PROFILEEDIT_H

#include "OrmuMainWidget.h"
#include "SIP_PROFILE_CONTENT.h"

class OrmuMultiLineEdit;
class QCheckBox;
class QComboBox;

// The form on which a SIP profile is entered or changed. It works on a copy of the profile; only "Save"
// writes it to the store. It never deletes itself: whoever made it deletes it when it emits editDone(), also
// inside the slot that answers the signal.
class SETUP_SIP_ProfileEdit : public OrmuMainWidget
{
    Q_OBJECT

public:
    // An empty profileName asks for a new profile; any other names the stored profile to edit.
    explicit SETUP_SIP_ProfileEdit(const QString& profileName, QWidget* parent = nullptr,
                                   const char* name = nullptr);

signals:
    // The user is done; saved tells whether the profile was written to the store.
    void editDone(bool saved);

protected slots:
    void slotSave();
    void slotQuit();
    void textChanged();

private:
    enum InputCheck { INPUT_GOOD = 0, INPUT_MISSING = 1, INPUT_NAME_EXISTS = 2 };

    void createComponent();
    void createSoftKeys();
    void addLabel(const QString& text, int y);
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
    bool modified = false; // an entry or the check box was changed
    QString initialName;   // the name the profile has in the store; empty for a new one
    SIP_PROFILE_CONTENT record;
};

#endif
