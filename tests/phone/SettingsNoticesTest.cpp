// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "PhoneFixture.h"
#include "SettingsFailure.h"
#include "SettingsHostLock.h"
#include "SettingsState.h"
#include "SystemCallFault.h"

#include <QFile>
#include <QTimer>

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
    "again.|OK";

// The phone over a settings file that cannot be read or written.
class Notices : public PhoneTest
{
protected:
    Notices() { writeFile(PROFILES); }

    // No box opens from the events that are due.
    static bool staysSilent()
    {
        for (int i = 0; i < 20; ++i)
            QCoreApplication::processEvents();
        return open<OrmuMessageBox>() == nullptr;
    }

    // The file is a link to itself.
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
};

TEST_F(Notices, TellAFailedSave)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    {
        const SystemCallFault fault(SystemCall::Rename, ENOSPC);
        addProfile("New");
        ASSERT_EQ(fault.fired(), 1);
        EXPECT_EQ(boxText("not-saved"), NO_ROOM);
        ASSERT_TRUE(listIsOpen());
        EXPECT_EQ(rows(), QStringList({"Home", "Office", "New"}));
        press(Qt::Key_F3);
        EXPECT_EQ(boxText(), NO_ROOM) << "the last try";
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
        addProfile("New");
    }
    EXPECT_EQ(boxText(), NO_ROOM);
    press(Qt::Key_F3);
    EXPECT_TRUE(staysSilent());
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office", "New"}));
    press(Qt::Key_F3);
}

TEST_F(Notices, TellSeveralFailuresInOneBoxEachOnce)
{
    for (const int error : {ENOSPC, EROFS, ENOSPC})
        reportUnsaved(file(), error);
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    EXPECT_EQ(boxText("several"),
              NO_ROOM + std::string("\nThe SIP profiles could not be saved: the disk can only be read."));
    EXPECT_TRUE(staysSilent());
}

TEST_F(Notices, TellALaterFailureInTheNextBox)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    const SystemCallFault fault(SystemCall::Rename, ENOSPC);
    addProfile("First");
    ASSERT_TRUE(waitFor([] { return open<OrmuMessageBox>() != nullptr; }));
    reportUnsaved(file(), EROFS);
    EXPECT_EQ(boxText(), NO_ROOM);
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
    ASSERT_TRUE(isHome());
    EXPECT_EQ(boxText(), NO_ROOM);
    EXPECT_TRUE(isHome());
}

TEST_F(Notices, EndWithTheirHost)
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

TEST_F(Notices, TellAnUnreadableFileAndOpenNoList)
{
    const WarningLog warnings;
    makeUnreadable();
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down}) {
        press(key);
        press(Qt::Key_Return);
        EXPECT_EQ(boxText("not-read"), NOT_READ);
        EXPECT_TRUE(isHome());
    }
    makeReadable();
    press(Qt::Key_Up);
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    press(Qt::Key_F3);
    EXPECT_EQ(readFile(), PROFILES);
}

TEST_F(Notices, RefuseSavesFromAFailedReadUntilTheListReopens)
{
    const WarningLog warnings;
    press(Qt::Key_Return);
    makeUnreadable();
    addProfile("Lost");
    EXPECT_EQ(boxText("not-saved-unread"), NOT_SAVED_UNREAD);
    makeReadable();
    addProfile("Lost too");
    EXPECT_EQ(boxText(), NOT_SAVED_UNREAD);
    EXPECT_EQ(readFile(), PROFILES);
    press(Qt::Key_F3);
    press(Qt::Key_Return);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    addProfile("Kept");
    EXPECT_TRUE(staysSilent());
    for (const char* line : {"TotalProfile=3\n", "DisplayName=Home\n", "DisplayName=Office\n"})
        EXPECT_TRUE(readFile().contains(line)) << line;
    EXPECT_TRUE(readFile().contains("DisplayName=Kept"));
    press(Qt::Key_F3);
}

// Each read in turn: beginSettings(), the tidy, the list's own.
TEST_F(Notices, OpenNoListAfterAFailedRead)
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
                told += QString::fromStdString(boxText("", Qt::Key_Escape));
        });
        dismiss->start(1);
        press(Qt::Key_Return);
        if (fault.fired() == 0)
            break;
        ++failed;
        EXPECT_TRUE(waitFor([&told] { return !told.isEmpty(); }));
        EXPECT_TRUE(told.join('\n').contains("input/output error", Qt::CaseInsensitive))
            << qPrintable(told.join('\n'));
        EXPECT_TRUE(isHome());
    }
    EXPECT_GE(failed, 2);
    EXPECT_EQ(rows(), QStringList({"Home", "Office"}));
    press(Qt::Key_F3);
}

TEST_F(Notices, TellAnUnusableDirectoryAtTheStart)
{
    const WarningLog warnings;
    home.reset();
    writeFile(directory() + "/file", "");
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/file/inner"));
    start();
    EXPECT_EQ(boxText("no-directory"),
              "SIP profiles cannot be saved: there is a file in the folder's place.");
    EXPECT_TRUE(isHome());
    EXPECT_TRUE(staysSilent());
}

TEST_F(Notices, TellAnUnusableLockFileAndOpenNoList)
{
    const QString lockFile = directory() + "/" + LOCK_FILE;
    const auto told = [] { return answer({Qt::Key_Return}, openList); };
    {
        const SystemCallFault fault(SystemCall::Open, EIO, 0, SystemCallFault::ALL, LOCK_FILE);
        EXPECT_EQ(told(), Told({"The SIP profiles cannot be opened: input/output error.|OK"}));
    }
    writeFile(lockFile, "");
    ASSERT_EQ(chmod(QFile::encodeName(lockFile).constData(), 0644), 0);
    EXPECT_EQ(told(),
              Told({"The SIP profiles cannot be opened: the file .lock is not for this user alone.|OK"}));
    if (geteuid() == 0) {
        ASSERT_EQ(chown(QFile::encodeName(lockFile).constData(), 65534, 65534), 0);
        EXPECT_EQ(told(),
                  Told({"The SIP profiles cannot be opened: the file .lock belongs to another user.|OK"}));
    }
    EXPECT_TRUE(isHome());
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

    pid_t other = -1;
};

TEST_F(TwoPhones, OpenOneListAtATime)
{
    EXPECT_EQ(answer({Qt::Key_Return}, openList), Told({IN_USE}));
    EXPECT_TRUE(isHome());
    endOther();
    press(Qt::Key_Return);
    EXPECT_TRUE(listIsOpen());
    press(Qt::Key_F3);
}

TEST_F(TwoPhones, OfferOneChoiceAtATime)
{
    press(Qt::Key_Down);
    EXPECT_EQ(answer({Qt::Key_Return}, openList), Told({IN_USE}));
    EXPECT_TRUE(isHome());
    endOther();
    choose({Qt::Key_F3});
    EXPECT_TRUE(isHome());
}

} // namespace
