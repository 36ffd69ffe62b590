// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SCREENTEST_H
#define SCREENTEST_H

#include "DaemonTest.h"
#include "MessageBoxes.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"
#include "UTIL_CST.h"

#include <functional>
#include <memory>

class QTimer;
class SETUP_SIP_ConnectDlg;
class UTIL_ListBox;
class UTIL_ListBoxItem;

using ScreenDriver::click;
using ScreenDriver::clickAt;
using ScreenDriver::clickMenuEntry;
using ScreenDriver::clickRow;
using ScreenDriver::longPress;
using ScreenDriver::onceOpen;
using ScreenDriver::open;
using ScreenDriver::press;
using ScreenDriver::type;
using ScreenDriver::waitFor;

inline const ShownBox DELETE_QUESTION("Delete the profile?", "Dialog_Question_Mark.jpg", {"OK", "Cancel"});
inline const ShownBox DISCONNECT_QUESTION("Disconnect current connection?", "Dialog_Question_Mark.jpg",
                                          {"OK", "Cancel"});
inline const ShownBox RECONNECT_QUESTION("Do you want to re-connect this profile?",
                                         "Dialog_Question_Mark.jpg", {"OK", "Cancel"});
inline const ShownBox CONNECTED("connect to server successfully", "Dialog_Complete.gif", {});
inline const ShownBox DISCONNECTED("disconnect from server successfully", "Dialog_Complete.gif", {});
inline const ShownBox FAILED("Failed to connect to server", "Dialog_Exclamatory_Mark.gif", {"OK"});
inline const ShownBox UNAVAILABLE("Service is not available", "Dialog_Exclamatory_Mark.gif", {"OK"});
inline const ShownBox INCORRECT("Incorrect profile\nfailed to connect to server",
                                "Dialog_Exclamatory_Mark.gif", {"OK"});

// The report of a call of the link without a connection.
inline const char LINK_ASSERTION[] = "[{]1[}] SIP_COMM_Controler[.]cpp:[0-9]+\tormu assert failed !\n\n";

// The ways to press a soft key of the screen that has the keys.
enum class SoftKey { LEFT, MIDDLE, RIGHT, ESCAPE, LEFT_CLICK, MIDDLE_CLICK, RIGHT_CLICK };
void press(SoftKey key);
inline constexpr SoftKey RIGHT_KEYS[] = {SoftKey::RIGHT, SoftKey::ESCAPE, SoftKey::RIGHT_CLICK};

// The icon of that file name.
QImage iconOf(const char* fileName);

// Runs act when the next connect dialog is shown, before it sends anything.
class OnceConnectDlgShows : public QObject
{
public:
    explicit OnceConnectDlgShows(std::function<void()> act);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> act_;
};

// A test of the setup screens, with a store of its own and, after play(), a daemon. It drives the screens as
// the user and the host do, and fails when it leaves a screen open.
class ScreenTest : public DaemonTest, public SettingsDirectory
{
public:
    ScreenTest() : SettingsDirectory(InMemory) {}
    ~ScreenTest() override;

    // A profile that connects without asking for the user name "me" and the password "secret".
    static SIP_PROFILE_CONTENT record(const QString& name);
    // A profile that asks for them.
    static SIP_PROFILE_CONTENT guardedRecord(const QString& name);
    static SIP_PROFILE_CONTENT lockedRecord(const QString& name);
    static void store(SIP_PROFILE_CONTENT record);
    static void storeProfiles(const QStringList& names);
    // "Profile number 0" and so on.
    static void storeProfiles(int count);

    static SETUP_SIP_Agent* profiles() { return SETUP_SIP_Agent::instance(); }
    // The names in the store, in its order; in the file, in the order of the next store that reads it.
    static QStringList names();
    static QStringList namesInFile();
    static SIP_PROFILE_CONTENT profileInFile(QString group);
    static bool isDefault(const QString& name) { return profiles()->isProfileDefault(name); }
    static bool exists(const QString& name) { return profiles()->isProfileExisted(name); }
    // Writes a file without profiles that counts so many.
    void writeTotal(int total) const;

    static QWidget* top() { return OrmuPhoneWindow::instance()->topScreen(); }
    // Deletes every open screen.
    void closeAll();

    // Opens the list over the file, as the host does; the list is deleted on SIPClose().
    void openList();
    bool isBackAtList() const;
    QStringList rows() const { return rowsOf(listBox); }
    static QStringList rowsOf(const UTIL_ListBox* rows);
    static UTIL_ListBoxItem* row(const UTIL_ListBox* rows, int index);
    // Makes the row current by keys.
    void goToRow(int row) const { goToRow(listBox, row); }
    static void goToRow(const UTIL_ListBox* rows, int row);
    static QList<int> checkedRows(const UTIL_ListBox* rows);

    // Opens the current row's menu by its key, and chooses the entry by keys.
    static void chooseInRowMenu(const QString& entry);
    // Opens the screen's menu by the left soft key, and chooses the entry by keys.
    static void chooseInMenu(const QString& entry);
    static void chooseEntry(const QString& entry);
    // Opens the current row's menu by its key, and closes it: "0 Connect", "1 Set as default (off)" and so
    // on.
    static QStringList rowMenu();
    // Opens the delete dialog of the list and runs act in it; act closes it.
    static void inDeleteDialog(const std::function<void(QDialog&)>& act);

    // Calls a slot with a menu id.
    static void invoke(QObject* screen, const char* slot, int id);

    // The values of the request field in the profile messages that the daemon received.
    QList<int> requests();
    // The timer of the connect dialog; null when it has none.
    static QTimer* timerOf(const SETUP_SIP_ConnectDlg* dialog);
    // Speeds up the open connect dialog until it is gone. The caller answers its notices.
    static void finishConnecting();
    // Answers the notice of the open connect dialog.
    static QList<ShownBox> dismissNotice();
    // A daemon that reports every profile with this status: 0 is disconnected, 2 is connected.
    static Scenario withStatus(uint32_t status, uint32_t disconnectAck = 0, uint32_t connectAck = 0);

    // Fills the open credentials prompt; submitPrompt() then presses OK.
    static void fillPrompt(const QString& user, const QString& password);
    static void submitPrompt(const QString& user, const QString& password);

    // Runs act, answers each message box that it opens with the next key, and returns the boxes.
    template <class Act>
    static QList<ShownBox> boxesOf(std::initializer_list<Qt::Key> keys, Act act)
    {
        const BoxAnswers answers(keys);
        act();
        return answers.boxes();
    }
    // Runs act, and hides the message box that it opens.
    static void hideBoxOf(const std::function<void()>& act);

    std::unique_ptr<SETUP_SIP_ProfileListBase> list;
    UTIL_ListBox* listBox = nullptr;
};

#endif
