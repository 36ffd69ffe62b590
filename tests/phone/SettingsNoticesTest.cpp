#include "ChildProcess.h"
#include "HomeScreen.h"
#include "OrmuMessageBox.h"
#include "ScreenDriver.h"
#include "SettingsFailure.h"
#include "SettingsFixture.h"
#include "SettingsHostLock.h"
#include "SystemCallFault.h"
#include "UTIL_Dialog.h"
#include "UTIL_ListBox.h"

#include <QDir>
#include <QFile>
#include <QTimer>

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <unistd.h>

using namespace ScreenDriver;

namespace {

const QByteArray PROFILES = "[ProfileSummary]\nTotalProfile=2\n"
                            "[Profile0]\nDisplayName=Home\n[Profile1]\nDisplayName=Office\n";
const char NO_ROOM[] = "The SIP profiles could not be saved: no room on the disk.";
const char NOT_READ[] = "The SIP profiles could not be read: the link leads in a circle.";
const char NOT_SAVED_UNREAD[] =
    "The SIP profiles could not be saved, because they could not be read: the link "
    "leads in a circle. Leave the list and open it again.";
const char IN_USE[] =
    "The SIP profiles are in use by another phone on this computer. Close that one, then try "
    "again.";

// The phone over a settings file that fails it. The libraries are the real ones, loaded at run time.
class Notices : public SettingsTest
{
protected:
    Notices()
    {
        writeFile(PROFILES);
        start();
    }

    void start()
    {
        home = std::make_unique<HomeScreen>();
        home->show();
    }

    static bool listIsOpen()
    {
        return OrmuPhoneWindow::instance()->topScreen()->inherits("SETUP_SIP_ProfileListBase");
    }
    static QStringList rows()
    {
        QStringList rows;
        const auto* list = open<QWidget>()->findChild<UTIL_ListBox*>();
        for (int i = 0; i < list->count(); ++i)
            rows += list->item(i)->text();
        return rows;
    }

    // The text of the box that comes up, answered by its key. A picture of it is taken when the environment
    // names a directory for it.
    static QString boxText(const QString& picture = QString(), Qt::Key key = Qt::Key_Return)
    {
        if (!waitFor([] { return open<OrmuMessageBox>() != nullptr; }))
            return "(no box)";
        const QString directory = qEnvironmentVariable("ORMU_TEST_PICTURES");
        if (!directory.isEmpty() && !picture.isEmpty()) {
            EXPECT_TRUE(savePicture(directory + "/" + picture + ".png"));
        }
        const QString text = open<OrmuMessageBox>()->text();
        press(key);
        return text;
    }

    // Whatever is due has been done, and no box came of it.
    static bool staysSilent()
    {
        for (int i = 0; i < 20; ++i)
            QCoreApplication::processEvents();
        return open<OrmuMessageBox>() == nullptr;
    }

    // A new profile of that name, by keys from the list.
    static void addByKeys(const QString& name)
    {
        press(Qt::Key_F1);
        press(Qt::Key_Return);
        type(name);
        press(Qt::Key_Down);
        type("sip.example.org");
        press(Qt::Key_Down);
        press(Qt::Key_Down);
        type("anna");
        press(Qt::Key_Down);
        type("secret");
        press(Qt::Key_F2);
    }

    // The file is there, but no read of it works.
    void makeUnreadable() const
    {
        ASSERT_TRUE(QFile::rename(file(), kept()));
        ASSERT_TRUE(QFile::link(file(), file()));
    }
    void makeReadable() const
    {
        ASSERT_TRUE(QFile::remove(file()));
        ASSERT_TRUE(QFile::rename(kept(), file()));
    }
    QString kept() const { return directory() + "/kept"; }

    std::unique_ptr<HomeScreen> home;
};

TEST_F(Notices, TellASaveThatFailsAndTheNextListShowsTheFile)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    {
        const SystemCallFault fault(SystemCall::Rename, ENOSPC);
        addByKeys("New");
        ASSERT_EQ(fault.fired(), 1);
        EXPECT_EQ(boxText("not-saved").toStdString(), NO_ROOM);
        ASSERT_TRUE(listIsOpen());
        EXPECT_EQ(rows(), QStringList({"Home", "Office", "New"}));
        press(Qt::Key_F3);
        EXPECT_EQ(boxText().toStdString(), NO_ROOM) << "the last try";
    }
    EXPECT_EQ(readFile(), PROFILES);
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    EXPECT_TRUE(staysSilent());
    press(Qt::Key_F3);
}

TEST_F(Notices, AreFollowedByASaveWhenTheListCloses)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    {
        const SystemCallFault fault(SystemCall::Rename, ENOSPC);
        addByKeys("New");
    }
    EXPECT_EQ(boxText().toStdString(), NO_ROOM);
    press(Qt::Key_F3);
    EXPECT_TRUE(staysSilent());
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office", "New"}));
    press(Qt::Key_F3);
}

TEST_F(Notices, TellSeveralFailuresInARowInOneBoxEachOnce)
{
    for (const int error : {ENOSPC, EROFS, ENOSPC})
        reportUnsaved(file(), error);
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    EXPECT_EQ(boxText("several").toStdString(),
              NO_ROOM + std::string("\nThe SIP profiles could not be saved: the disk can only be read."));
    EXPECT_TRUE(staysSilent());
}

TEST_F(Notices, TellAFailureThatComesWhileTheBoxIsOpenInTheNextBox)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    const SystemCallFault fault(SystemCall::Rename, ENOSPC);
    addByKeys("First");
    ASSERT_TRUE(waitFor([] { return open<OrmuMessageBox>() != nullptr; }));
    reportUnsaved(file(), EROFS);
    EXPECT_EQ(boxText().toStdString(), NO_ROOM);
    EXPECT_EQ(boxText(), "The SIP profiles could not be saved: the disk can only be read.");
    EXPECT_TRUE(listIsOpen());
    press(Qt::Key_F3);
}

TEST_F(Notices, OutliveTheScreenWhoseSaveFailed)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    QWidget* list = open<QWidget>();
    reportUnsaved(file(), ENOSPC);
    ASSERT_TRUE(QMetaObject::invokeMethod(list, "SIPClose"));
    ASSERT_EQ(open<HomeScreen>(), home.get());
    EXPECT_EQ(boxText().toStdString(), NO_ROOM);
    EXPECT_EQ(open<HomeScreen>(), home.get());
}

TEST_F(Notices, GoWithTheirHostBoxAndAll)
{
    const WarningLog warnings;
    reportUnsaved(file(), ENOSPC);
    ASSERT_TRUE(waitFor([] { return open<OrmuMessageBox>() != nullptr; }));
    home.reset();
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    reportUnsaved(file(), ENOSPC);
    EXPECT_TRUE(staysSilent());
    start();
    EXPECT_TRUE(staysSilent());
}

TEST_F(Notices, TellAFileThatCannotBeReadAndOpenNoList)
{
    const WarningLog warnings;
    makeUnreadable();
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down}) {
        press(key);
        press(Qt::Key_Return);
        EXPECT_EQ(boxText("not-read").toStdString(), NOT_READ);
        EXPECT_EQ(open<HomeScreen>(), home.get());
    }
    makeReadable();
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    press(Qt::Key_F3);
    EXPECT_EQ(readFile(), PROFILES);
}

TEST_F(Notices, OneFailedReadKeepsAnOpenListFromSavingUntilItIsReopened)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    makeUnreadable();
    addByKeys("Lost");
    EXPECT_EQ(boxText("not-saved-unread").toStdString(), NOT_SAVED_UNREAD);
    makeReadable();
    addByKeys("Lost too");
    EXPECT_EQ(boxText().toStdString(), NOT_SAVED_UNREAD);
    EXPECT_EQ(readFile(), PROFILES);
    press(Qt::Key_F3);
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    addByKeys("Kept");
    EXPECT_TRUE(staysSilent());
    for (const char* line : {"TotalProfile=3\n", "DisplayName=Home\n", "DisplayName=Office\n"})
        EXPECT_TRUE(readFile().contains(line)) << line;
    EXPECT_TRUE(readFile().contains("DisplayName=Kept"));
    press(Qt::Key_F3);
}

// Whichever read it is: the one that looks whether there is something to read, or the list's own.
TEST_F(Notices, AListWithOneReadThatFailedIsNotShown)
{
    const WarningLog warnings;
    press(Qt::Key_Return); // The libraries are loaded.
    press(Qt::Key_F3);
    int failed = 0;
    for (int passing = 0;; ++passing) {
        const SystemCallFault fault(SystemCall::Open, EIO, passing, 1, "ormu_sipsetup.cfg");
        const auto dismiss = std::make_unique<QTimer>();
        QStringList told;
        QObject::connect(dismiss.get(), &QTimer::timeout, [&told] {
            if (open<OrmuMessageBox>() != nullptr)
                told += boxText(QString(), Qt::Key_Escape);
        });
        dismiss->start(1);
        press(Qt::Key_Return);
        if (fault.fired() == 0)
            break;
        ++failed;
        EXPECT_TRUE(waitFor([&told] { return !told.isEmpty(); }));
        EXPECT_TRUE(told.join('\n').contains("input/output error", Qt::CaseInsensitive))
            << qPrintable(told.join('\n'));
        EXPECT_EQ(open<HomeScreen>(), home.get());
    }
    EXPECT_GE(failed, 2);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    press(Qt::Key_F3);
}

TEST_F(Notices, AtStartTellADirectoryInWhichNothingCanBeSaved)
{
    const WarningLog warnings;
    home.reset();
    writeFile(directory() + "/file", "");
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/file/inner"));
    start();
    EXPECT_EQ(boxText("no-directory"),
              "SIP profiles cannot be saved: there is a file in the folder's place.");
    EXPECT_EQ(open<HomeScreen>(), home.get());
    EXPECT_TRUE(staysSilent());
}

TEST_F(Notices, TellALockFileThatCannotBeOpenedAndOpenNoList)
{
    const QString lockFile = directory() + "/" + LOCK_FILE;
    const auto told = [] {
        QString text;
        const auto dismiss = onceOpen<OrmuMessageBox>([&text](OrmuMessageBox&) { text = boxText("lock"); });
        press(Qt::Key_Return);
        return text;
    };
    {
        const SystemCallFault fault(SystemCall::Open, EIO, 0, SystemCallFault::ALL, LOCK_FILE);
        EXPECT_EQ(told(), "The SIP profiles cannot be opened: input/output error.");
    }
    writeFile(lockFile, "");
    ASSERT_EQ(chmod(QFile::encodeName(lockFile).constData(), 0644), 0);
    EXPECT_EQ(told(), "The SIP profiles cannot be opened: the file .lock is not for this user alone.");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(QFile::encodeName(lockFile).constData(), 65534, 65534), 0);
        EXPECT_EQ(told(), "The SIP profiles cannot be opened: the file .lock belongs to another user.");
    }
    EXPECT_EQ(open<HomeScreen>(), home.get());
    ASSERT_TRUE(QFile::remove(lockFile));
    press(Qt::Key_Return);
    EXPECT_TRUE(listIsOpen());
    press(Qt::Key_F3);
}

// Another phone on the same settings directory.
class TwoPhones : public Notices
{
protected:
    TwoPhones()
    {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        other = startChild([&] {
            SettingsHostLock lock;
            const char result = static_cast<char>(lock.hold());
            if (write(ready[1], &result, 1) == 1)
                pause();
            return 0;
        });
        char result = -1;
        EXPECT_EQ(read(ready[0], &result, 1), 1);
        EXPECT_EQ(result, SettingsHostLock::Held);
        close(ready[0]);
        close(ready[1]);
    }
    ~TwoPhones() override { endOther(); }

    void endOther()
    {
        if (other > 0) {
            kill(other, SIGKILL);
            waitForChild(other);
        }
        other = -1;
    }

    // Presses Enter on the current entry, which asks nothing but OK.
    static QString toldByEnter()
    {
        QString told;
        const auto dismiss = onceOpen<OrmuMessageBox>([&told](OrmuMessageBox&) { told = boxText("in-use"); });
        press(Qt::Key_Return);
        return told;
    }

    pid_t other = -1;
};

TEST_F(TwoPhones, TheSecondOpensNoListUntilTheFirstHasEnded)
{
    EXPECT_EQ(toldByEnter().toStdString(), IN_USE);
    EXPECT_EQ(open<HomeScreen>(), home.get());
    endOther();
    press(Qt::Key_Return);
    EXPECT_TRUE(listIsOpen());
    press(Qt::Key_F3);
}

TEST_F(TwoPhones, TheSecondOffersNoChoiceUntilTheFirstHasEnded)
{
    press(Qt::Key_Down);
    EXPECT_EQ(toldByEnter().toStdString(), IN_USE);
    EXPECT_EQ(open<HomeScreen>(), home.get());
    endOther();
    const auto cancel = onceOpen<UTIL_Dialog>([](UTIL_Dialog&) { press(Qt::Key_F3); });
    press(Qt::Key_Return);
    EXPECT_EQ(open<HomeScreen>(), home.get());
}

} // namespace
