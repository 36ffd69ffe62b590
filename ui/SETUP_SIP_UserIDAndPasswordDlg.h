#ifndef SETUP_SIP_USERIDANDPASSWORDDLG_H
#define SETUP_SIP_USERIDANDPASSWORDDLG_H

#include "OrmuMainWidget.h"
#include "SIP_PROFILE_CONTENT.h"

class OrmuMultiLineEdit;
class QCheckBox;

// Asks for the user name and password of a profile that is about to be connected, and compares them with the
// profile's own. It never deletes itself: whoever made it deletes it when it emits inputDone(), also inside
// the slot that answers the signal.
class SETUP_SIP_UserIDAndPasswordDlg : public OrmuMainWidget
{
    Q_OBJECT

public:
    // userID, password and remember fill the form; they and profile are only read.
    SETUP_SIP_UserIDAndPasswordDlg(QString& userID, QString& password, bool remember,
                                   SIP_PROFILE_CONTENT& profile, QWidget* parent = nullptr,
                                   const char* name = nullptr);

signals:
    // ok: what was typed is the profile's. Otherwise the user gave up.
    void inputDone(bool ok);

protected slots:
    void slotOK();
    void slotQuit();

private:
    void addLabel(const QString& text, int y);
    OrmuMultiLineEdit* addEntry(const QString& text, int y);
    void createSoftKeys();
    bool wantsRetry(const QString& reason) const;

    OrmuMultiLineEdit* userEdit;
    OrmuMultiLineEdit* passwordEdit;
    QCheckBox* rememberCheck;
    const SIP_PROFILE_CONTENT profile;
};

#endif
