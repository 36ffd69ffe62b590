// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SET_Manager.h"

#include "SettingsFile.h"
#include "SettingsState.h"

#include <QHash>

#include <glib.h>

#include <vector>

namespace {

// The name of a group or key as the file has it. Nearly all are ASCII, which needs no copy in between.
std::string nameInFile(const QString& name)
{
    std::string ascii(static_cast<size_t>(name.size()), '\0');
    auto next = ascii.begin();
    for (const QChar c : name) {
        if (c.unicode() >= 0x80)
            return name.toStdString();
        *next++ = static_cast<char>(c.unicode());
    }
    return ascii;
}

// Qt's message handler gets the warnings of the settings file.
const guint WARNING_HANDLER = g_log_set_handler(
    "ormu-settings", G_LOG_LEVEL_WARNING,
    [](const gchar*, GLogLevelFlags, const gchar* message, gpointer) { qWarning("%s", message); }, nullptr);

struct Change
{
    std::string group;
    std::string key; // Empty when the whole group is cleared.
    std::string value;
};

// True when it changed anything.
bool apply(SettingsKeys& keys, const Change& change)
{
    return change.key.empty() ? keys.removeGroup(change.group)
                              : keys.setValue(change.group, change.key, change.value);
}

// The changes that could not be saved, by path.
QHash<QString, std::vector<Change>>& unsavedChanges()
{
    static QHash<QString, std::vector<Change>> changes;
    return changes;
}

// 0, or the error.
int replaceWith(const std::vector<Change>& changes, SettingsFile& file, const std::string& name,
                const SettingsLock& lock)
{
    bool differs = false;
    for (const Change& change : changes)
        differs |= apply(file.keys, change);
    if (!differs)
        return 0;
    if (lock.refusal() != 0) {
        qWarning("settings file %s is not written: the lock file beside it is not private", name.c_str());
        return lock.refusal();
    }
    return (!file.damaged || keepDamagedFile(name)) && replaceSettingsFile(name, file.keys.toBytes()) ? 0
                                                                                                      : errno;
}

// Why the changes may rest on another content than the file's; 0 when they do not.
int unreadError(const QString& path, const SettingsFile& file)
{
    return file.error == 0 && !file.missing && isSettingsFileNew(path) ? SETTINGS_APPEARED : file.error;
}

void refuseUnread(const QString& path, int error)
{
    qWarning("settings file %s is not known, nothing is written", encodedPath(path).c_str());
    reportUnread(SettingsFailure::NotSavedUnread, path, error);
}

// A replacement that failed may have made the file all the same, but not durably.
void noteIfMade(const QString& path, const std::string& name)
{
    if (isSettingsFileNew(path) && !readSettingsFile(name).missing)
        noteSettingsFileMade(path);
}

// Saves the changes that could not be saved before, and then these. When the file cannot be written, all of
// them are kept for the next save. When it could not be read, now or before, all of them are dropped.
void saveChanges(const QString& path, const std::vector<Change>& changes)
{
    std::vector<Change> all = unsavedChanges().take(path);
    if (const int error = unreadError(path)) {
        refuseUnread(path, error);
        return;
    }
    all.insert(all.end(), changes.begin(), changes.end());
    const std::string name = encodedPath(path);
    const SettingsLock lock(name);
    SettingsFile file = readSettingsFile(name);
    if (const int error = unreadError(path, file)) {
        refuseUnread(path, error);
        return;
    }
    if (const int error = replaceWith(all, file, name, lock)) {
        reportUnsaved(path, error);
        unsavedChanges().insert(path, all);
    }
    noteIfMade(path, name);
}

} // namespace

class SETUP_SET_Manager::File
{
public:
    explicit File(const QString& path) : path_(path)
    {
        SettingsFile file = readSettingsFile(encodedPath(path));
        keys_ = std::move(file.keys);
        isUnread_ = file.error != 0;
        if (isUnread_)
            reportUnread(SettingsFailure::NotRead, path_, file.error);
        const auto unsaved = unsavedChanges().value(path_);
        for (const Change& change : unsaved)
            apply(keys_, change);
        isUnsaved_ = !unsaved.empty();
    }

    const SettingsKeys& keys() const { return keys_; }

    void set(const QString& group, const QString& key, const std::string& value)
    {
        const Change change{group.toStdString(), key.toStdString(), value};
        if (isSettingsName(change.group) && isSettingsName(change.key))
            make(change);
        else
            qWarning("settings file %s cannot hold a key of such a name", encodedPath(path_).c_str());
    }

    void clear(const QString& group) { make({group.toStdString(), {}, {}}); }

    void save() const
    {
        if (changed_)
            saveChanges(path_, changes_);
    }

private:
    // Records changes without effect as well: another manager may remove the key before this one saves, and
    // the group must be whole then. Every change counts when the file could not be read, or holds less than
    // keys_ because of a failed save.
    void make(const Change& change)
    {
        changed_ |= apply(keys_, change) || isUnread_ || isUnsaved_;
        changes_.push_back(change);
    }

    const QString path_;
    SettingsKeys keys_;
    std::vector<Change> changes_;
    bool isUnread_ = false;
    bool isUnsaved_ = false; // keys_ contains changes that could not be saved.
    bool changed_ = false;
};

void endSettings(const QString& path)
{
    if (unsavedChanges().contains(path))
        saveChanges(path, {});
    dropUnsavedChanges(path);
}

void dropUnsavedChanges(const QString& path)
{
    unsavedChanges().remove(path);
}

SETUP_SET_Manager::SETUP_SET_Manager(const QString& path, bool) : file_(std::make_unique<File>(path)) {}

SETUP_SET_Manager::~SETUP_SET_Manager()
{
    file_->save();
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, QString& value,
                                       const QString& defaultValue, bool) const
{
    const auto text = file_->keys().text(nameInFile(group), nameInFile(key));
    value = text ? QString::fromStdU16String(*text) : defaultValue;
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, bool& value,
                                       bool defaultValue) const
{
    value = file_->keys().boolean(nameInFile(group), nameInFile(key)).value_or(defaultValue);
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, int& value,
                                       int defaultValue) const
{
    value = file_->keys().number<int>(nameInFile(group), nameInFile(key)).value_or(defaultValue);
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                                       unsigned int defaultValue) const
{
    value = file_->keys().number<unsigned int>(nameInFile(group), nameInFile(key)).value_or(defaultValue);
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, const QString& value, bool)
{
    file_->set(group, key, encodeSettingsText(value.toStdU16String()));
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, bool value)
{
    file_->set(group, key, value ? "true" : "false");
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, int value)
{
    file_->set(group, key, std::to_string(value));
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, unsigned int value)
{
    file_->set(group, key, std::to_string(value));
}

void SETUP_SET_Manager::clearGroup(const QString& group)
{
    file_->clear(group);
}
