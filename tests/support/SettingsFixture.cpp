// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QString parentOf(SettingsDirectory::Place place)
{
    const QString memory = "/dev/shm";
    return place == SettingsDirectory::InMemory && QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
}

} // namespace

SettingsDirectory::SettingsDirectory(Place place) : directory_(parentOf(place) + "/settings-XXXXXX")
{
    EXPECT_TRUE(directory_.isValid());
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory()));
}

SettingsDirectory::~SettingsDirectory()
{
    qunsetenv("ORMU_SETTING_DIR");
}

QString SettingsDirectory::directory() const
{
    return directory_.path();
}

QString SettingsDirectory::file() const
{
    return directory_.filePath("ormu_sipsetup.cfg");
}

void SettingsDirectory::writeFile(const QByteArray& bytes) const
{
    writeFile(file(), bytes);
}

QByteArray SettingsDirectory::readFile() const
{
    return readFile(file());
}

void SettingsDirectory::writeFile(const QString& path, const QByteArray& bytes)
{
    QFile target(path);
    ASSERT_TRUE(target.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    ASSERT_EQ(target.write(bytes), bytes.size());
}

QByteArray SettingsDirectory::readFile(const QString& path)
{
    QFile source(path);
    EXPECT_TRUE(source.open(QIODevice::ReadOnly)) << qPrintable(path);
    return source.readAll();
}

QStringList SettingsDirectory::entries() const
{
    QStringList names =
        QDir(directory())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    names.removeAll(LOCK_FILE);
    return names;
}

FileIdentity::FileIdentity(const QString& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(QFile::encodeName(path).constData(), &status), 0) << qPrintable(path);
    inode = status.st_ino;
    mode = status.st_mode;
    modifiedSeconds = status.st_mtim.tv_sec;
    modifiedNanoseconds = status.st_mtim.tv_nsec;
    size = status.st_size;
}

WarningLog* WarningLog::current_ = nullptr;

WarningLog::WarningLog() : former_(qInstallMessageHandler(collect))
{
    current_ = this;
}

WarningLog::~WarningLog()
{
    qInstallMessageHandler(former_);
    current_ = nullptr;
}

void WarningLog::collect(QtMsgType, const QMessageLogContext&, const QString& line)
{
    current_->lines_.append(line);
}
