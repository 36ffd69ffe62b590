// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsHostLock.h"
#include "ManagerTest.h"
#include "SettingsLockFile.h"

#include <csignal>
#include <sys/file.h>

namespace {

using Result = SettingsHostLock::Result;

// Works in a process that lives as long as this object, and then is killed.
class Process
{
public:
    explicit Process(const std::function<bool()>& work)
    {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        child_ = startChild([&] {
            const char done = work();
            if (write(ready[1], &done, 1) == 1)
                pause();
            return 0;
        });
        char done = 0;
        EXPECT_EQ(read(ready[0], &done, 1), 1);
        EXPECT_TRUE(done);
        close(ready[0]);
        close(ready[1]);
    }
    ~Process()
    {
        kill(child_, SIGKILL);
        waitForChild(child_);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

private:
    pid_t child_ = -1;
};

class SettingsHost : public ManagerTest
{
protected:
    // The result of hold() in another process.
    static int triedByAnother()
    {
        return runInChild([] { return static_cast<int>(SettingsHostLock().hold()); });
    }
};

TEST_F(SettingsHost, HoldsTheDirectoryUntilItIsDeleted)
{
    {
        SettingsHostLock lock;
        EXPECT_EQ(lock.hold(), Result::Held);
        EXPECT_EQ(lock.hold(), Result::Held);
        EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
        EXPECT_EQ(SettingsHostLock().hold(), Result::HeldByAnother);
    }
    EXPECT_EQ(triedByAnother(), Result::Held);
    EXPECT_EQ(entries(), QStringList());
    EXPECT_TRUE(QFile::exists(lockFile()));
}

TEST_F(SettingsHost, MakesALockFileForItsUserAlone)
{
    umask(0);
    SettingsHostLock lock;
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(modeOf(lockFile()), 0600U);
}

TEST_F(SettingsHost, LosesTheDirectoryWhenKilled)
{
    SettingsHostLock lock;
    {
        std::unique_ptr<SettingsHostLock> other;
        const Process host([&] {
            other = std::make_unique<SettingsHostLock>();
            return other->hold() == Result::Held;
        });
        EXPECT_EQ(lock.hold(), Result::HeldByAnother);
    }
    EXPECT_EQ(lock.hold(), Result::Held);
}

TEST_F(SettingsHost, HoldsThePresentDirectory)
{
    SettingsHostLock lock;
    ASSERT_EQ(lock.hold(), Result::Held);
    const SettingsDirectory other;
    EXPECT_EQ(triedByAnother(), Result::Held);
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
    ASSERT_TRUE(QFile::remove(other.directory() + "/" + LOCK_FILE));
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
}

TEST_F(SettingsHost, FollowsNoLinkInTheLockFilesPlace)
{
    const QString outside = directory() + "/outside";
    makeLink(lockFile(), outside);
    EXPECT_EQ(SettingsHostLock().hold(), Result::NoLockFile);
    EXPECT_FALSE(QFile::exists(outside));
}

bool becomeOtherUser()
{
    return setgid(65534) == 0 && setuid(65534) == 0;
}

// A save beside the lock file.
class SettingsWriterLock : public SettingsHost
{
protected:
    SettingsWriterLock() { writeFile(OLD); }

    void expectRefusal(const QString& reason)
    {
        expectFailedSave(reason);
        EXPECT_EQ(entries(), QStringList(FILE_NAME));
        SettingsHostLock lock;
        EXPECT_EQ(lock.hold(), Result::NoLockFile);
        EXPECT_EQ(settingsReason(file(), lock.error()), reason);
    }
};

TEST_F(SettingsWriterLock, MakesALockFileForItsUserAlone)
{
    umask(0);
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(FileIdentity(lockFile()).mode, S_IFREG | 0600U);
}

TEST_F(SettingsWriterLock, IsNotTheLockOfTheHost)
{
    SettingsHostLock host;
    ASSERT_EQ(host.hold(), Result::Held);
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
}

TEST_F(SettingsWriterLock, IgnoresAnotherUsersLockOfTheDirectory)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    setMode(directory(), 0755);
    const Process other([&] {
        const int opened = becomeOtherUser() ? open(name(directory()).constData(), O_RDONLY) : -1;
        return flock(opened, LOCK_EX) == 0;
    });
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(SettingsHostLock().hold(), Result::Held);
}

TEST_F(SettingsWriterLock, RefusesAnotherUsersLockFileWithoutWaiting)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    setMode(directory(), 0777);
    std::unique_ptr<SettingsLockFile> lock;
    const Process other([&] {
        if (!becomeOtherUser())
            return false;
        lock = std::make_unique<SettingsLockFile>(name(directory() + "/").toStdString());
        return lock->tryLock(SettingsLockFile::HostByte) && lock->tryLock(SettingsLockFile::WriterByte);
    });
    expectRefusal("the file .lock belongs to another user");
    setMode(lockFile(), 0666);
    expectRefusal("the file .lock belongs to another user");
    ASSERT_TRUE(QFile::remove(lockFile()));
    writeNew();
    EXPECT_EQ(readFile(), NEW);
}

TEST_F(SettingsWriterLock, RefusesALockFileThatOthersMayOpen)
{
    writeFile(lockFile(), "");
    for (const mode_t mode : {0644U, 0620U, 0602U}) {
        setMode(lockFile(), mode);
        expectRefusal("the file .lock is not for this user alone");
    }
    setMode(lockFile(), 0600);
    SETUP_SET_Manager(file(), false).setSettingInfo("Group", "Other", 2);
    EXPECT_EQ(readFile(), NEW + "Other=2\n");
}

TEST_F(SettingsWriterLock, RefusesALockFileThatIsNoFile)
{
    const std::function<void()> makes[] = {
        [&] { ASSERT_TRUE(QDir().mkpath(lockFile())); },
        [&] { makeLink(lockFile(), "outside"); },
        [&] { ASSERT_EQ(mkfifo(name(lockFile()).constData(), 0600), 0); },
    };
    for (const auto& make : makes) {
        QDir().rmdir(lockFile());
        QFile::remove(lockFile());
        make();
        expectRefusal("the file .lock is not for this user alone");
    }
}

} // namespace
