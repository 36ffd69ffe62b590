// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef MANAGERTEST_H
#define MANAGERTEST_H

#include "ChildProcess.h"
#include "FailureLog.h"
#include "SETUP_SET_Manager.h"
#include "SettingsFixture.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

// Settings managers on the files of a settings directory, with all their warnings and failures.
class ManagerTest : public SettingsInMemoryTest
{
protected:
    using Failure = SettingsFailure;

    static inline const QByteArray OLD = "[Group]\nKey=old\n";
    static inline const QByteArray NEW = "[Group]\nKey=new\n";
    static inline const QByteArray GARBAGE = "Password hunter2\n";
    static inline const QString FILE_NAME = QStringLiteral("ormu_sipsetup.cfg");

    static QString readText(const QString& path, const QString& group, const QString& key)
    {
        QString text;
        SETUP_SET_Manager(path, false).getSettingInfo(group, key, text, "(default)", false);
        return text;
    }
    QString readText(const QString& group, const QString& key) const { return readText(file(), group, key); }
    static void writeText(const QString& path, const QString& group, const QString& key, const QString& text)
    {
        SETUP_SET_Manager(path, false).setSettingInfo(group, key, text, false);
    }
    // Makes OLD NEW.
    static void writeNew(const QString& path) { writeText(path, "Group", "Key", "new"); }
    void writeNew() const { writeNew(file()); }

    static QByteArray name(const QString& path) { return QFile::encodeName(path); }
    static void setMode(const QString& path, mode_t mode)
    {
        ASSERT_EQ(chmod(name(path).constData(), mode), 0);
    }
    static mode_t modeOf(const QString& path) { return FileIdentity(path).mode & 07777; }
    static void makeLink(const QString& link, const QString& to)
    {
        ASSERT_EQ(symlink(name(to).constData(), name(link).constData()), 0);
    }
    static bool isLink(const QString& path) { return S_ISLNK(FileIdentity(path).mode); }
    QString lockFile() const { return directory() + "/" + LOCK_FILE; }
    // The damaged file that is kept.
    QString kept() const { return file() + ".damaged"; }

    // The next save fails for that reason, tells so once, and leaves the file as it is.
    void expectFailedSave(const QString& reason, Failure::Kind kind = Failure::NotSaved)
    {
        const FileIdentity before(file());
        const QByteArray bytes = readFile();
        log.clear();
        writeNew();
        EXPECT_EQ(log.only().kind, kind);
        EXPECT_EQ(log.only().path, file());
        EXPECT_EQ(log.only().reason, reason);
        EXPECT_EQ(FileIdentity(file()), before);
        EXPECT_EQ(readFile(), bytes);
    }
    static void expectFailure(const std::optional<Failure>& failure, Failure::Kind kind,
                              const QString& reason)
    {
        ASSERT_TRUE(failure.has_value());
        EXPECT_EQ(failure->kind, kind);
        EXPECT_EQ(failure->reason, reason);
    }

    // Runs a part of the test in a process without root's privileges, to which the directory is given.
    static void runAsNobody(const QString& directory, const std::function<void()>& part)
    {
        EXPECT_EQ(runUnprivileged(directory, [&] { return resultOf(part); }), 0);
    }
    // Runs the test in a process that has a small disk of its own on the settings directory.
    void runOnSmallDisk(const std::function<void()>& test) const
    {
        const int result = runOnOwnDisk(directory(), [&] { return resultOf(test); });
        if (result == NO_OWN_DISK)
            GTEST_SKIP() << "this user cannot have a disk of its own";
        EXPECT_EQ(result, 0);
    }

    const WarningLog warnings;
    FailureLog log;

private:
    static int resultOf(const std::function<void()>& part)
    {
        part();
        return HasFailure() ? 1 : 0;
    }
};

#endif
