// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSFIXTURE_H
#define SETTINGSFIXTURE_H

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

// An empty settings directory of mode 0700, which ORMU_SETTING_DIR names. Both end with this object.
class SettingsDirectory
{
public:
    enum Place { OnDisk, InMemory }; // in memory where the machine has such a place

    explicit SettingsDirectory(Place place = OnDisk);
    ~SettingsDirectory();
    SettingsDirectory(const SettingsDirectory&) = delete;
    SettingsDirectory& operator=(const SettingsDirectory&) = delete;

    QString directory() const;
    // The settings file of the profiles.
    QString file() const;

    void writeFile(const QByteArray& bytes) const;
    // Fails the test when there is no such file.
    QByteArray readFile() const;
    static void writeFile(const QString& path, const QByteArray& bytes);
    static QByteArray readFile(const QString& path);

    // The sorted names in the settings directory without the lock file.
    static constexpr char LOCK_FILE[] = ".lock";
    QStringList entries() const;

private:
    QTemporaryDir directory_;
};

class SettingsTest : public testing::Test, protected SettingsDirectory
{
};

// For tests that write many files durably.
class SettingsInMemoryTest : public testing::Test, protected SettingsDirectory
{
protected:
    SettingsInMemoryTest() : SettingsDirectory(InMemory) {}
};

// Differs between a file and its replacement.
struct FileIdentity
{
    explicit FileIdentity(const QString& path);
    bool operator==(const FileIdentity&) const = default;

    ino_t inode = 0;
    mode_t mode = 0;
    qint64 modifiedSeconds = 0;
    qint64 modifiedNanoseconds = 0;
    qint64 size = 0;
};

// Collects warnings instead of printing them while it lives.
class WarningLog
{
public:
    WarningLog();
    ~WarningLog();
    WarningLog(const WarningLog&) = delete;
    WarningLog& operator=(const WarningLog&) = delete;

    const QStringList& lines() const { return lines_; }

private:
    static void collect(QtMsgType type, const QMessageLogContext& context, const QString& line);

    static WarningLog* current_;
    QStringList lines_;
    QtMessageHandler former_;
};

#endif
