#include "SettingsHostLock.h"
#include "ChildProcess.h"
#include "SettingsFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Result = SettingsHostLock::Result;

class SettingsHost : public SettingsTest
{
protected:
    QString lockFile() const { return directory() + "/.host.lock"; }

    // As another process sees it.
    static int triedByAnother()
    {
        return runInChild([] { return static_cast<int>(SettingsHostLock().hold()); });
    }
};

TEST_F(SettingsHost, HoldsTheDirectoryUntilItGoes)
{
    {
        SettingsHostLock lock;
        EXPECT_EQ(lock.hold(), Result::Held);
        EXPECT_EQ(lock.hold(), Result::Held);
        EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
        EXPECT_EQ(SettingsHostLock().hold(), Result::HeldByAnother);
    }
    EXPECT_EQ(triedByAnother(), Result::Held);
    EXPECT_EQ(entries(), QStringList(".host.lock"));
}

TEST_F(SettingsHost, MakesALockFileForItsUserAlone)
{
    umask(0);
    SettingsHostLock lock;
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(FileIdentity(lockFile()).mode & 07777, 0600U);
}

TEST_F(SettingsHost, LosesTheDirectoryWhenItIsKilled)
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

TEST_F(SettingsHost, HoldsTheDirectoryThatIsThereNow)
{
    SettingsHostLock lock;
    ASSERT_EQ(lock.hold(), Result::Held);
    const SettingsDirectory other;
    EXPECT_EQ(triedByAnother(), Result::Held);
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
    ASSERT_TRUE(QFile::remove(other.directory() + "/.host.lock"));
    EXPECT_EQ(lock.hold(), Result::Held);
    EXPECT_EQ(triedByAnother(), Result::HeldByAnother);
}

TEST_F(SettingsHost, SaysWhenTheDirectoryCannotBeLocked)
{
    ASSERT_TRUE(QDir().mkpath(lockFile()));
    EXPECT_EQ(SettingsHostLock().hold(), Result::CannotLock);
}

TEST_F(SettingsHost, FollowsNoLinkInTheLockFilesPlace)
{
    const QString outside = directory() + "/outside";
    ASSERT_EQ(symlink(QFile::encodeName(outside).constData(), QFile::encodeName(lockFile()).constData()), 0);
    EXPECT_EQ(SettingsHostLock().hold(), Result::CannotLock);
    EXPECT_FALSE(QFile::exists(outside));
}

} // namespace
