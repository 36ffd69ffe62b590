// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsFailure.h"

#include "OrmuConfig.h"
#include "SettingsFile.h"
#include "SettingsState.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QSet>

#include <cerrno>
#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The words for an error.
class Reason
{
    Q_DECLARE_TR_FUNCTIONS(SettingsFailure)

public:
    static QString of(const QString& path, int error);

private:
    static QString ofRefusal(const QString& path);
    static QString ofLockFile(const QString& path);
};

QString Reason::of(const QString& path, int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return tr("no room on the disk", "99.99.99;DIALOG_ICON_50_WARP");
    case EROFS:
        return tr("the disk can only be read", "99.99.99;DIALOG_ICON_50_WARP");
    case EIO:
        return tr("input/output error", "99.99.99;DIALOG_ICON_50_WARP");
    case ENOENT:
        return tr("the folder is missing", "99.99.99;DIALOG_ICON_50_WARP");
    case ENOTDIR:
    case EEXIST:
        return tr("there is a file in the folder's place", "99.99.99;DIALOG_ICON_50_WARP");
    case ELOOP:
        return tr("the link leads in a circle", "99.99.99;DIALOG_ICON_50_WARP");
    case SETTINGS_APPEARED:
        return tr("the file was missing when the list was opened", "99.99.99;DIALOG_ICON_50_WARP");
    case SETTINGS_TOO_MANY_COPIES:
        return tr("too many copies are kept", "99.99.99;DIALOG_ICON_50_WARP");
    case EISDIR:
        return tr("it is no file", "99.99.99;DIALOG_ICON_50_WARP");
    case SETTINGS_LOCK_NOT_PRIVATE:
        return ofLockFile(path);
    case EFBIG:
        return tr("the file is too large", "99.99.99;DIALOG_ICON_50_WARP");
    case EMFILE:
    case ENFILE:
        return tr("too many files are open", "99.99.99;DIALOG_ICON_50_WARP");
    case EACCES:
    case EPERM:
        return ofRefusal(path);
    default:
        return QString::fromUtf8(g_strerror(error));
    }
}

bool belongsToAnother(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && status.st_uid != geteuid();
}

std::string targetOf(const QString& path)
{
    const std::string file = encodedPath(path);
    return settingsTarget(file).value_or(file);
}

QString Reason::ofRefusal(const QString& path)
{
    const std::string target = targetOf(path);
    if (!target.ends_with('/') && belongsToAnother(target))
        return tr("the file belongs to another user", "99.99.99;DIALOG_ICON_50_WARP");
    if (belongsToAnother(directoryOf(target)))
        return tr("the folder belongs to another user", "99.99.99;DIALOG_ICON_50_WARP");
    return tr("not allowed", "99.99.99;DIALOG_ICON_50_WARP");
}

QString Reason::ofLockFile(const QString& path)
{
    return belongsToAnother(directoryOf(targetOf(path)) + ".lock")
               ? tr("the file .lock belongs to another user", "99.99.99;DIALOG_ICON_50_WARP")
               : tr("the file .lock is not for this user alone", "99.99.99;DIALOG_ICON_50_WARP");
}

struct Failures
{
    SettingsFailureHandler handler;
    QHash<QString, int> unread; // The error of the last failed read, by path.
    QSet<QString> missing;      // The paths of missing files that this process has not made.
};

Failures& failures()
{
    static Failures all;
    return all;
}

bool mayMakeFilesIn(const std::string& directory)
{
    return faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

void report(const SettingsFailure& failure)
{
    if (failures().handler)
        failures().handler(failure);
}

} // namespace

std::string encodedPath(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

QString settingsReason(const QString& path, int error)
{
    return Reason::of(path, error);
}

void setSettingsFailureHandler(const SettingsFailureHandler& handler)
{
    failures().handler = handler;
}

std::optional<SettingsFailure> beginSettings(const QString& path)
{
    dropUnsavedChanges(path);
    const SettingsFile file = readSettingsFile(encodedPath(path));
    const int error = file.error;
    failures().missing.remove(path);
    if (file.missing)
        failures().missing.insert(path);
    if (error == 0) {
        failures().unread.remove(path);
        return std::nullopt;
    }
    failures().unread.insert(path, error);
    return SettingsFailure{SettingsFailure::NotRead, path, Reason::of(path, error)};
}

bool isSettingsFileUnread(const QString& path)
{
    return unreadError(path) != 0;
}

std::optional<SettingsFailure> checkSettingsDirectory(const QString& file)
{
    const QString directory = OrmuConfig::getSettingDirectory() + u'/';
    const std::string name = encodedPath(directory);
    if (g_mkdir_with_parents(name.c_str(), 0700) != 0 || !mayMakeFilesIn(name))
        return SettingsFailure{SettingsFailure::NoDirectory, directory, Reason::of(directory, errno)};
    const auto target = file.isEmpty() ? std::nullopt : settingsTarget(encodedPath(file));
    if (target && !mayMakeFilesIn(directoryOf(*target)))
        return SettingsFailure{SettingsFailure::NoDirectory, file, Reason::of(file, errno)};
    return std::nullopt;
}

bool isSettingsFileNew(const QString& path)
{
    return failures().missing.contains(path);
}

void noteSettingsFileMade(const QString& path)
{
    failures().missing.remove(path);
}

void reportUnread(SettingsFailure::Kind kind, const QString& path, int error)
{
    failures().unread.insert(path, error);
    report({kind, path, Reason::of(path, error)});
}

void reportUnsaved(const QString& path, int error)
{
    report({SettingsFailure::NotSaved, path, Reason::of(path, error)});
}

int unreadError(const QString& path)
{
    return failures().unread.value(path);
}
