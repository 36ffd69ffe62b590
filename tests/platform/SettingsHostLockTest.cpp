#include "SettingsHostLock.h"
#include "ChildProcess.h"
#include "FailureLog.h"
#include "ManagerTest.h"
#include "SettingsLockFile.h"

#include <QDir>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Result = SettingsHostLock::Result;

class SettingsHost : public ManagerTest
{
protected:
    QString lockFile() const { return directory() + "/" + LOCK_FILE; }

    // As another process sees it.
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
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t host = startChild([&] {
        SettingsHostLock lock;
        const char result = static_cast<char>(lock.hold());
        if (write(ready[1], &result, 1) == 1)
            pause();
        return 0;
    });
    char result = -1;
    ASSERT_EQ(read(ready[0], &result, 1), 1);
    ASSERT_EQ(result, Result::Held);
    SettingsHostLock lock;
    EXPECT_EQ(lock.hold(), Result::HeldByAnother);
    EXPECT_EQ(kill(host, SIGKILL), 0);
    waitForChild(host);
    EXPECT_EQ(lock.hold(), Result::Held);
    close(ready[0]);
    close(ready[1]);
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

TEST_F(SettingsHost, TellsADirectoryInTheLockFilesPlace)
{
    ASSERT_TRUE(QDir().mkpath(lockFile()));
    EXPECT_EQ(SettingsHostLock().hold(), Result::NoLockFile);
}

TEST_F(SettingsHost, FollowsNoLinkInTheLockFilesPlace)
{
    const QString outside = directory() + "/outside";
    ASSERT_EQ(symlink(name(outside).constData(), name(lockFile()).constData()), 0);
    EXPECT_EQ(SettingsHostLock().hold(), Result::NoLockFile);
    EXPECT_FALSE(QFile::exists(outside));
}

// A save beside the lock file.
class SettingsWriterLock : public SettingsHost
{
protected:
    SettingsWriterLock() { writeFile(OLD); }

    void expectRefusal(const QString& reason) const
    {
        const WarningLog warnings;
        const FailureLog log;
        writeNew();
        EXPECT_EQ(log.only().kind, SettingsFailure::NotSaved);
        EXPECT_EQ(log.only().reason, reason);
        EXPECT_EQ(readFile(), OLD);
        EXPECT_EQ(entries(), QStringList(FILE_NAME));
        SettingsHostLock lock;
        EXPECT_EQ(lock.hold(), Result::NoLockFile);
        EXPECT_EQ(settingsReason(file(), lock.error()), reason);
    }
};

// Works as another user in a process that lives as long as this object.
class OtherUser
{
public:
    explicit OtherUser(const std::function<bool()>& work)
    {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        child_ = startChild([&] {
            const char done = setgid(65534) == 0 && setuid(65534) == 0 && work();
            if (write(ready[1], &done, 1) == 1)
                pause();
            return 0;
        });
        char done = 0;
        EXPECT_EQ(read(ready[0], &done, 1), 1);
        hasDone = done != 0;
        close(ready[0]);
        close(ready[1]);
    }
    ~OtherUser()
    {
        kill(child_, SIGKILL);
        waitForChild(child_);
    }
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;

    bool hasDone = false;

private:
    pid_t child_ = -1;
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
    const OtherUser other([&] {
        const int opened = open(name(directory()).constData(), O_RDONLY | O_DIRECTORY);
        return flock(opened, LOCK_EX) == 0;
    });
    ASSERT_TRUE(other.hasDone);
    writeNew();
    EXPECT_EQ(readFile(), NEW);
    EXPECT_EQ(SettingsHostLock().hold(), Result::Held);
}

TEST_F(SettingsWriterLock, RefusesAnotherUsersLockFileWithoutWaiting)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    setMode(directory(), 0777);
    std::unique_ptr<SettingsLockFile> file;
    const OtherUser other([&] {
        file = std::make_unique<SettingsLockFile>(name(directory() + "/").toStdString());
        return file->tryLock(SettingsLockFile::HostByte) && file->tryLock(SettingsLockFile::WriterByte);
    });
    ASSERT_TRUE(other.hasDone);
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
    ASSERT_TRUE(QDir().mkpath(lockFile()));
    expectRefusal("the file .lock is not for this user alone");
    ASSERT_TRUE(QDir().rmdir(lockFile()));
    ASSERT_EQ(symlink("outside", name(lockFile()).constData()), 0);
    expectRefusal("the file .lock is not for this user alone");
    ASSERT_TRUE(QFile::remove(lockFile()));
    ASSERT_EQ(mkfifo(name(lockFile()).constData(), 0600), 0);
    expectRefusal("the file .lock is not for this user alone");
}

} // namespace
