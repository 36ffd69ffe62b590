#ifndef MANAGERTEST_H
#define MANAGERTEST_H

#include "SETUP_SET_Manager.h"
#include "SettingsFixture.h"

#include <QFile>

#include <sys/stat.h>

// Settings managers on the files of a settings directory.
class ManagerTest : public SettingsInMemoryTest
{
protected:
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
};

#endif
