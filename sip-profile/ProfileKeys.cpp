#include "ProfileKeys.h"

#include "SettingsText.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace {

struct GLibDeleter
{
    void operator()(gchar* text) const { g_free(text); }
    void operator()(gchar** texts) const { g_strfreev(texts); }
};
using Text = std::unique_ptr<gchar, GLibDeleter>;
using Texts = std::unique_ptr<gchar*, GLibDeleter>;

const QByteArray GROUP_STEM = "Profile";
// What the store writes by itself into a group that a person has deleted.
constexpr std::array SWITCH_KEYS = {AUTO_CONNECT_KEY, "Locked", DEFAULT_PROFILE_KEY, "NeedUserIDPass",
                                    "RemPassword"};

// What a repair may change. GLib knows the last one, and takes not every value of it in a file's first group.
constexpr std::array CHANGED_KEYS = {TOTAL_KEY, DEFAULT_KEY, DISPLAY_NAME_KEY, DEFAULT_PROFILE_KEY,
                                     "Encoding"};

template <size_t count>
bool isOneOf(const std::array<const char*, count>& keys, const QByteArray& key)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

bool parses(QByteArrayView bytes)
{
    const KeyFile keys(g_key_file_new());
    return parseSettings(keys.get(), bytes);
}

bool isProfileGroup(QByteArrayView group)
{
    if (!group.startsWith(GROUP_STEM) || group.size() == GROUP_STEM.size())
        return false;
    const QByteArrayView number = group.sliced(GROUP_STEM.size());
    return (number[0] != '0' || number.size() == 1) &&
           std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isKnownGroup(QByteArrayView group)
{
    return group == SUMMARY_GROUP || group == DEFAULT_GROUP || group == "InputSettings" ||
           isProfileGroup(group);
}

bool isComment(const QByteArray& line)
{
    const QByteArray text = line.trimmed();
    return text.isEmpty() || text.startsWith('#');
}

QByteArray headerOf(const QByteArray& group)
{
    return '[' + group + ']';
}

// What stands in place of a line that GLib rejects.
QList<QByteArray> mendLine(QByteArray line, int number)
{
    line.replace('\0', "");
    const QByteArray text = withoutByteOrderMark(line).toByteArray().trimmed();
    const bool isOpened = text.startsWith('[');
    const bool isClosed = text.endsWith(']');
    const QByteArray group = text.split(']').first().replace('[', "").trimmed();
    if ((isOpened || isClosed) && isKnownGroup(group))
        return {headerOf(group)};
    if (isOpened && isClosed) // The keys below it must not get into the group above.
        return {"# " + line, headerOf("Line " + QByteArray::number(number))};
    return {"# " + line};
}

// Numbers may be longer than any integer.
bool isBefore(const QString& a, const QString& b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace

QString profileGroup(quint64 number)
{
    return QString::fromLatin1(GROUP_STEM) + QString::number(number);
}

ProfileKeys::ProfileKeys(const QByteArray& bytes)
    : keys_(g_key_file_new()), isParsed_(parseSettings(keys_.get(), bytes))
{
    int number = 0;
    for (const QByteArray& line : withoutByteOrderMark(bytes).toByteArray().split('\n')) {
        ++number;
        if (isParsed_ || parses(headers() + '\n' + line + '\n')) {
            read(line);
            continue;
        }
        for (const QByteArray& mended : mendLine(line, number))
            read(mended);
        if (rejectedLines_++ == 0)
            firstRejectedLine_ = number;
    }
    separateGroups();
    if (isParsed_ && formerGroups_.isEmpty())
        return;
    keys_.reset(g_key_file_new());
    isParsed_ = parseSettings(keys_.get(), joined(sections_));
}

// Those on which it depends whether GLib takes the next line: it is stricter in a file's first group.
QByteArray ProfileKeys::headers() const
{
    if (sections_.size() == 1)
        return QByteArray();
    return headerOf(sections_[1].group) + '\n' + headerOf(sections_.last().group);
}

void ProfileKeys::read(const QByteArray& line)
{
    const QByteArray text = line.trimmed();
    if (text.startsWith('[')) {
        sections_.append({text.mid(1, text.lastIndexOf(']') - 1)});
        return;
    }
    Section& section = sections_.last();
    section.lines.append(line);
    section.isNamed = section.isNamed || text.left(text.indexOf('=')).trimmed() == DISPLAY_NAME_KEY;
}

void ProfileKeys::separateGroups()
{
    QSet<QByteArray> groups;
    QHash<QByteArray, const Section*> last;
    for (const Section& section : std::as_const(sections_)) {
        groups.insert(section.group);
        if (section.isNamed)
            last.insert(section.group, &section);
    }
    quint64 number = 0;
    for (Section& section : sections_) {
        if (!section.isNamed || !isProfileGroup(section.group) || last[section.group] == &section)
            continue;
        while (groups.contains(profileGroup(number).toLatin1()))
            ++number;
        const QString own = profileGroup(number++);
        formerGroups_.insert(own, QString::fromLatin1(section.group));
        section.group = own.toLatin1();
    }
}

QByteArray ProfileKeys::joined(const QList<Section>& sections)
{
    QList<QByteArray> lines;
    for (const Section& section : sections) {
        if (!section.group.isEmpty())
            lines.append(headerOf(section.group));
        lines.append(section.lines);
    }
    return lines.join('\n');
}

QByteArray ProfileKeys::numberedFromZero() const
{
    const QList<QString> profiles = profileGroups();
    QList<Section> sections = sections_;
    for (Section& section : sections) {
        if (!isProfileGroup(section.group))
            continue;
        const qsizetype number = profiles.indexOf(QString::fromLatin1(section.group));
        if (number >= 0) {
            section.group = profileGroup(static_cast<quint64>(number)).toLatin1();
            continue;
        }
        section.group.clear();
        section.lines.removeIf([](const QByteArray& line) { return !isComment(line); });
        section.lines.prepend(QByteArray());
    }
    return joined(sections);
}

QList<QString> ProfileKeys::groups(bool ofProfiles) const
{
    QList<QString> groups;
    const Texts names(g_key_file_get_groups(keys_.get(), nullptr));
    for (gchar** name = names.get(); *name != nullptr; ++name) {
        if (isProfileGroup(*name) == ofProfiles)
            groups += QString::fromUtf8(*name);
    }
    return groups;
}

QList<QByteArray> ProfileKeys::keys(const QString& group) const
{
    const Texts keys(g_key_file_get_keys(keys_.get(), group.toUtf8().constData(), nullptr, nullptr));
    QList<QByteArray> all;
    for (gchar** key = keys.get(); key != nullptr && *key != nullptr; ++key)
        all.append(*key);
    return all;
}

QList<QString> ProfileKeys::profileGroups() const
{
    QList<QString> profiles = groups(true);
    profiles.removeIf([this](const QString& group) {
        const QList<QByteArray> all = keys(group);
        return std::all_of(all.begin(), all.end(),
                           [](const QByteArray& key) { return isOneOf(SWITCH_KEYS, key); });
    });
    std::sort(profiles.begin(), profiles.end(), isBefore);
    return profiles;
}

bool ProfileKeys::isMarkedDefault(const QString& group) const
{
    return value(group, DEFAULT_PROFILE_KEY).isEmpty() ? text(DEFAULT_GROUP, DEFAULT_KEY) == group
                                                       : isOn(group, DEFAULT_PROFILE_KEY);
}

QString ProfileKeys::defaultGroup() const
{
    QList<QString> marked = profileGroups();
    marked.removeIf([this](const QString& group) { return !isMarkedDefault(group); });
    const QString named = text(DEFAULT_GROUP, DEFAULT_KEY);
    return marked.contains(named) ? named : marked.value(0);
}

bool ProfileKeys::agreesOnDefault() const
{
    const QString group = defaultGroup();
    const QString named = text(DEFAULT_GROUP, DEFAULT_KEY);
    return group.isEmpty() ? !isProfileGroup(named.toUtf8())
                           : group == named && isOn(group, DEFAULT_PROFILE_KEY);
}

QList<ProfileKeys::Contents> ProfileKeys::contents() const
{
    QList<Contents> all;
    for (const QString& group : profileGroups() + groups(false)) {
        Contents contents;
        for (const QByteArray& key : keys(group)) {
            if (!isOneOf(CHANGED_KEYS, key))
                contents.insert(key, value(group, key.constData()));
        }
        if (!contents.isEmpty())
            all.append(contents);
    }
    return all;
}

QByteArray ProfileKeys::value(const QString& group, const char* key) const
{
    return QByteArray(
        Text(g_key_file_get_value(keys_.get(), group.toUtf8().constData(), key, nullptr)).get());
}

QString ProfileKeys::text(const QString& group, const char* key) const
{
    return decodeSettingsText(value(group, key)).value_or(QString());
}

QString ProfileKeys::readableText(const QString& group, const char* key) const
{
    const QByteArray stored = value(group, key);
    return decodeSettingsText(stored).value_or(QString::fromLatin1(stored));
}

bool ProfileKeys::isOn(const QString& group, const char* key) const
{
    const QByteArray stored = value(group, key);
    return stored == "true" || stored == "1";
}

bool ProfileKeys::isOff(const QString& group, const char* key) const
{
    const QByteArray stored = value(group, key);
    return stored == "false" || stored == "0";
}

std::optional<unsigned int> ProfileKeys::number(const QString& group, const char* key) const
{
    bool isNumber = false;
    const unsigned int number = value(group, key).toUInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

int ProfileKeys::totalProfile() const
{
    return value(SUMMARY_GROUP, TOTAL_KEY).toInt();
}

void ProfileKeys::setText(const QString& group, const char* key, const QString& text)
{
    setValue(group, key, encodeSettingsText(text));
}

void ProfileKeys::setValue(const QString& group, const char* key, const QByteArray& value)
{
    g_key_file_set_value(keys_.get(), group.toUtf8().constData(), key, value.constData());
}

QByteArray ProfileKeys::toBytes() const
{
    gsize length = 0;
    const Text data(g_key_file_to_data(keys_.get(), &length, nullptr));
    return QByteArray(data.get(), static_cast<qsizetype>(length));
}
