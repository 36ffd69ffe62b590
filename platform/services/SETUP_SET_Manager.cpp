#include "SETUP_SET_Manager.h"

#include "SettingsFailure.h"
#include "SettingsFile.h"
#include "SettingsText.h"

#include <QFile>
#include <QHash>
#include <QStringEncoder>
#include <QVarLengthArray>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace {

struct Change
{
    QByteArray group;
    QByteArray key; // Empty when the whole group is cleared.
    QByteArray value;
};

struct ValueDeleter
{
    void operator()(gchar* value) const { g_free(value); }
};
using Value = std::unique_ptr<gchar, ValueDeleter>;

// The name of a group or a key as the key file takes it. Every read makes two, so the usual ones need no
// allocation.
class Name
{
public:
    explicit Name(const QString& text)
    {
        QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
        bytes_.resize(encoder.requiredSpace(text.size()) + 1);
        *encoder.appendToBuffer(bytes_.data(), text) = '\0';
    }
    const char* get() const { return bytes_.constData(); }

private:
    QVarLengthArray<char, 128> bytes_;
};

// Whether a line with this name is read back as what was written.
bool canName(const QByteArray& name)
{
    const auto isForbidden = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7f' || std::strchr("[]=#", c) != nullptr;
    };
    return !name.isEmpty() && !name.startsWith(' ') && !name.endsWith(' ') &&
           std::none_of(name.begin(), name.end(), isForbidden);
}

bool setValue(GKeyFile* keys, const Change& change)
{
    const Value old(g_key_file_get_value(keys, change.group.constData(), change.key.constData(), nullptr));
    if (old && change.value == old.get())
        return false;
    g_key_file_set_value(keys, change.group.constData(), change.key.constData(), change.value.constData());
    return true;
}

// The group below the given one in the file; empty when it is the last.
QByteArray groupBelow(GKeyFile* keys, const QByteArray& group)
{
    const std::unique_ptr<gchar*, decltype(&g_strfreev)> groups(g_key_file_get_groups(keys, nullptr),
                                                                g_strfreev);
    for (gchar** name = groups.get(); *name != nullptr; ++name) {
        if (group == *name)
            return QByteArray(name[1]);
    }
    return QByteArray();
}

bool clearGroupKeepingComment(GKeyFile* keys, const QByteArray& group)
{
    if (!g_key_file_has_group(keys, group.constData()))
        return false;
    // The key file counts a comment that stands above a group to the one before.
    const QByteArray below = groupBelow(keys, group);
    const Value comment(below.isEmpty() ? nullptr
                                        : g_key_file_get_comment(keys, below.constData(), nullptr, nullptr));
    g_key_file_remove_group(keys, group.constData(), nullptr);
    if (comment) {
        const char* text = comment.get();
        text += std::strspn(text, "\n");
        if (*text != '\0')
            g_key_file_set_comment(keys, below.constData(), nullptr, text, nullptr);
    }
    return true;
}

// True when it changed anything.
bool apply(GKeyFile* keys, const Change& change)
{
    return change.key.isEmpty() ? clearGroupKeepingComment(keys, change.group) : setValue(keys, change);
}

// The changes that could not be saved, for each path.
QHash<QString, std::vector<Change>>& unsavedChanges()
{
    static QHash<QString, std::vector<Change>> changes;
    return changes;
}

// 0, or why it fails.
int replaceWith(const std::vector<Change>& changes, const SettingsFile& file, const QByteArray& name,
                const SettingsLock& lock)
{
    bool differs = false;
    for (const Change& change : changes)
        differs |= apply(file.keys.get(), change);
    if (!differs)
        return 0;
    if (lock.refusal() != 0) {
        qWarning("settings file %s is not written: the lock file beside it is not private", name.constData());
        return lock.refusal();
    }
    return (!file.damaged || keepDamagedFile(name)) && replaceSettingsFile(name, file.keys.get()) ? 0 : errno;
}

// Why the file is not known to hold what the changes follow from; 0 when it is.
int unreadError(const QString& path, const SettingsFile& file)
{
    return file.error == 0 && !file.missing && isSettingsFileNew(path) ? SETTINGS_APPEARED : file.error;
}

void refuseUnread(const QString& path, int error)
{
    qWarning("settings file %s is not known, nothing is written", QFile::encodeName(path).constData());
    reportUnread(SettingsFailure::NotSavedUnread, path, error);
}

// Even a replacement that fails may have made the file, and only not be durable.
void noteIfMade(const QString& path, const QByteArray& name)
{
    if (isSettingsFileNew(path) && !readSettingsFile(name).missing)
        noteSettingsFileMade(path);
}

// Saves what could not be saved before, and these changes after it. When the file cannot be written, all of
// them are kept for the next save. When it could not be read, then or before, all of them are dropped.
void saveChanges(const QString& path, const std::vector<Change>& changes)
{
    std::vector<Change> all = unsavedChanges().take(path);
    if (const int error = unreadError(path)) {
        refuseUnread(path, error);
        return;
    }
    all.insert(all.end(), changes.begin(), changes.end());
    const QByteArray name = QFile::encodeName(path);
    const SettingsLock lock(name);
    const SettingsFile file = readSettingsFile(name);
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
    explicit File(const QString& path) : path_(path), name_(QFile::encodeName(path))
    {
        SettingsFile file = readSettingsFile(name_);
        keys_ = std::move(file.keys);
        isUnread_ = file.error != 0;
        if (isUnread_)
            reportUnread(SettingsFailure::NotRead, path_, file.error);
        const auto unsaved = unsavedChanges().value(path_);
        for (const Change& change : unsaved)
            apply(keys_.get(), change);
        isUnsaved_ = !unsaved.empty();
    }

    Value value(const QString& group, const QString& key) const
    {
        return Value(g_key_file_get_value(keys_.get(), Name(group).get(), Name(key).get(), nullptr));
    }

    void set(const QString& group, const QString& key, const QByteArray& value)
    {
        const Change change{group.toUtf8(), key.toUtf8(), value};
        if (!canName(change.group) || !canName(change.key)) {
            qWarning("settings file %s cannot hold a key of such a name", name_.constData());
            return;
        }
        make(change);
    }

    void clear(const QString& group) { make({group.toUtf8(), {}, {}}); }

    void save() const
    {
        if (changed_)
            saveChanges(path_, changes_);
    }

private:
    // What changes nothing is noted too: another manager may have removed it by the time of the saving, and
    // a group that this one wrote must then be whole. What is in a file that was not read is not known; and
    // what could not be saved is saved with this.
    void make(const Change& change)
    {
        changed_ |= apply(keys_.get(), change) || isUnread_ || isUnsaved_;
        changes_.push_back(change);
    }

    QString path_;
    QByteArray name_; // The path as the system takes it.
    KeyFile keys_;
    std::vector<Change> changes_;
    bool isUnread_ = false;
    bool isUnsaved_ = false; // What is read has in part not been saved.
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
    const Value stored = file_->value(group, key);
    value = (stored ? decodeSettingsText(stored.get()) : std::nullopt).value_or(defaultValue);
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, bool& value,
                                       bool defaultValue) const
{
    const Value stored = file_->value(group, key);
    const QByteArrayView text(stored.get());
    value = defaultValue ? text != "false" && text != "0" : text == "true" || text == "1";
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, int& value,
                                       int defaultValue) const
{
    const Value stored = file_->value(group, key);
    bool isNumber = false;
    const int number = QByteArrayView(stored.get()).toInt(&isNumber);
    value = isNumber ? number : defaultValue;
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                                       unsigned int defaultValue) const
{
    const Value stored = file_->value(group, key);
    bool isNumber = false;
    const unsigned int number = QByteArrayView(stored.get()).toUInt(&isNumber);
    value = isNumber ? number : defaultValue;
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, const QString& value, bool)
{
    file_->set(group, key, encodeSettingsText(value));
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, bool value)
{
    file_->set(group, key, value ? "true" : "false");
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, int value)
{
    file_->set(group, key, QByteArray::number(value));
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, unsigned int value)
{
    file_->set(group, key, QByteArray::number(value));
}

void SETUP_SET_Manager::clearGroup(const QString& group)
{
    file_->clear(group);
}
