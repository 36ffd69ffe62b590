#ifndef SETUPSCREENSTEST_H
#define SETUPSCREENSTEST_H

#include "DaemonTest.h"
#include "SETUP_SIP_ProfileListBase.h"
#include "SIP_PROFILE_CONTENT.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"

#include <QStringList>

#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

class OrmuMainWidget;
class OrmuMessageBox;
class QTimer;
class SETUP_SIP_ConnectDlg;
class UTIL_ListBox;

// What a message box showed.
struct ShownBox
{
    explicit ShownBox(const OrmuMessageBox& box);
    ShownBox(const QString& text, const QString& icon, const QStringList& buttons);
    bool operator==(const ShownBox&) const = default;
    friend void PrintTo(const ShownBox& box, std::ostream* out);

    QString text;
    QString icon; // its file name
    QStringList buttons;
};

inline const ShownBox DELETE_QUESTION("Delete the profile?", "Dialog_Question_Mark.jpg", {"OK", "Cancel"});
inline const ShownBox DISCONNECT_QUESTION("Disconnect current connection?", "Dialog_Question_Mark.jpg",
                                          {"OK", "Cancel"});
inline const ShownBox CONNECTED("connect to server successfully", "Dialog_Complete.gif", {});
inline const ShownBox DISCONNECTED("disconnect from server successfully", "Dialog_Complete.gif", {});
inline const ShownBox FAILED("Failed to connect to server", "Dialog_Exclamatory_Mark.gif", {"OK"});
inline const ShownBox UNAVAILABLE("Service is not available", "Dialog_Exclamatory_Mark.gif", {"OK"});
inline const ShownBox INCORRECT("Incorrect profile\nfailed to connect to server",
                                "Dialog_Exclamatory_Mark.gif", {"OK"});

// Collects the message boxes that open while it lives, and answers each with the next of the keys.
class BoxAnswers
{
public:
    explicit BoxAnswers(std::initializer_list<Qt::Key> keys);
    ~BoxAnswers();
    BoxAnswers(const BoxAnswers&) = delete;
    BoxAnswers& operator=(const BoxAnswers&) = delete;

    const QList<ShownBox>& boxes() const { return boxes_; }
    // A picture of each is saved as such a file, when the environment asks for pictures.
    void keepPicture(const QString& name) { picture_ = name; }

private:
    void expectNext();
    void answer(OrmuMessageBox& box);

    QList<Qt::Key> keys_;
    QList<ShownBox> boxes_;
    QString picture_;
    std::vector<std::unique_ptr<ScreenDriver::Expected>> expected_;
};

// Has act done when the next connect dialog is shown, before it sends anything.
class OnceConnectDlgShows : public QObject
{
public:
    explicit OnceConnectDlgShows(std::function<void()> act);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> act_;
};

// Saves what the user sees in the directory that ORMU_TEST_PICTURES names, if it names one.
void keepPicture(const QString& name);

// The setup screens over a daemon that plays a scenario, driven as the user and the host do.
class SetupScreensTest : public DaemonTest, protected SettingsDirectory
{
protected:
    ~SetupScreensTest() override;

    // A profile that connects without asking, with every text different from the others.
    static SIP_PROFILE_CONTENT record(const QString& name);
    // One that asks for the user name "me" and the password "secret".
    static SIP_PROFILE_CONTENT guardedRecord(const QString& name);
    static void store(SIP_PROFILE_CONTENT record);

    // Opens the list over what is stored. It goes when it asks the host to close it.
    void openList();
    QStringList rows() const;
    // Makes the row current by keys.
    void goToRow(int row);
    // Opens the menu of the current row by its key, and chooses the entry by keys.
    static void chooseInRowMenu(const QString& entry);
    // Opens the menu of the screen by the left soft key, and chooses the entry by keys.
    static void chooseInMenu(const QString& entry);
    // Chooses the entry of the menu that is open, by keys.
    static void chooseEntry(const QString& entry);

    // The timer of the connect dialog; null when it has none.
    static QTimer* timerOf(const SETUP_SIP_ConnectDlg* dialog);
    // Lets the connect dialog that is open go on at a pace of its own until it is gone, its notices answered
    // meanwhile by somebody else.
    static void finishConnecting();

    // Fills the credentials prompt that is open.
    static void fillPrompt(const QString& user, const QString& password);

    std::unique_ptr<SETUP_SIP_ProfileListBase> list;
    UTIL_ListBox* listBox = nullptr;
};

#endif
