// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileKeys.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace {

// What a repair may change. GLib knows the last one, and takes not every value of it in a file's first group.
constexpr std::array<std::string_view, 5> CHANGED_KEYS = {TOTAL_KEY, DEFAULT_KEY, DISPLAY_NAME_KEY,
                                                          DEFAULT_PROFILE_KEY, "Encoding"};

// The store writes them by itself into a group that a person has deleted.
bool isSwitch(std::string_view key)
{
    return std::any_of(PROFILE_KEYS.begin(), PROFILE_KEYS.end(), [key](const ProfileKey& known) {
        return key == known.name && std::holds_alternative<bool>(known.standard);
    });
}

std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

QByteArray withoutMark(const QByteArray& bytes)
{
    const std::string_view rest = withoutByteOrderMark(viewOf(bytes));
    return bytes.last(static_cast<qsizetype>(rest.size()));
}

bool isProfileGroup(const QByteArray& group)
{
    return ::isProfileGroup(viewOf(group));
}

bool isKnownGroup(const QByteArray& group)
{
    return group == SUMMARY_GROUP || group == DEFAULT_GROUP || group == INPUT_GROUP || isProfileGroup(group);
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
    const QByteArray text = withoutMark(line).trimmed();
    const bool isOpened = text.startsWith('[');
    const bool isClosed = text.endsWith(']');
    const QByteArray group = text.split(']').first().replace('[', "").trimmed();
    if ((isOpened || isClosed) && isKnownGroup(group))
        return {headerOf(group)};
    if (isOpened && isClosed) // The keys below it must not get into the group above.
        return {"# " + line, headerOf("Line " + QByteArray::number(number))};
    return {"# " + line};
}

} // namespace

QString profileGroup(quint64 number)
{
    return QString::fromStdString(groupOf(number));
}

ProfileKeys::ProfileKeys(const QByteArray& bytes)
{
    std::optional<SettingsKeys> keys = SettingsKeys::parse(viewOf(bytes));
    int number = 0;
    for (const QByteArray& line : withoutMark(bytes).split('\n')) {
        ++number;
        if (keys || SettingsKeys::parse(viewOf(headers() + '\n' + line + '\n'))) {
            read(line);
            continue;
        }
        for (const QByteArray& mended : mendLine(line, number))
            read(mended);
        if (rejectedLines_++ == 0)
            firstRejectedLine_ = number;
    }
    separateGroups();
    if (!keys || !formerGroups_.isEmpty())
        keys = SettingsKeys::parse(viewOf(joined(sections_)));
    isParsed_ = keys.has_value();
    if (keys)
        keys_ = std::move(*keys);
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
    for (const std::string& group : keys_.groups()) {
        if (::isProfileGroup(group) == ofProfiles)
            groups += QString::fromStdString(group);
    }
    return groups;
}

QList<QString> ProfileKeys::profileGroups() const
{
    QList<QString> profiles = groups(true);
    profiles.removeIf([this](const QString& group) {
        const std::vector<std::string> all = keys_.keys(group.toStdString());
        return std::all_of(all.begin(), all.end(), isSwitch);
    });
    std::sort(profiles.begin(), profiles.end(), [](const QString& a, const QString& b) {
        return isGroupBefore(a.toStdString(), b.toStdString());
    });
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
        for (const std::string& key : keys_.keys(group.toStdString())) {
            if (std::find(CHANGED_KEYS.begin(), CHANGED_KEYS.end(), key) == CHANGED_KEYS.end())
                contents.insert(QByteArray::fromStdString(key), value(group, key.c_str()));
        }
        if (!contents.isEmpty())
            all.append(contents);
    }
    return all;
}

QByteArray ProfileKeys::value(const QString& group, const char* key) const
{
    return QByteArray::fromStdString(keys_.value(group.toStdString(), key).value_or(""));
}

QString ProfileKeys::text(const QString& group, const char* key) const
{
    return QString::fromStdU16String(keys_.text(group.toStdString(), key).value_or(u""));
}

QString ProfileKeys::readableText(const QString& group, const char* key) const
{
    const auto decoded = keys_.text(group.toStdString(), key);
    return decoded ? QString::fromStdU16String(*decoded) : QString::fromLatin1(value(group, key));
}

bool ProfileKeys::isOn(const QString& group, const char* key) const
{
    return keys_.boolean(group.toStdString(), key).value_or(false);
}

bool ProfileKeys::isOff(const QString& group, const char* key) const
{
    return !keys_.boolean(group.toStdString(), key).value_or(true);
}

std::optional<unsigned int> ProfileKeys::number(const QString& group, const char* key) const
{
    return keys_.number<unsigned int>(group.toStdString(), key);
}

int ProfileKeys::totalProfile() const
{
    return keys_.number<int>(SUMMARY_GROUP, TOTAL_KEY).value_or(0);
}

void ProfileKeys::setText(const QString& group, const char* key, const QString& text)
{
    setValue(group, key, QByteArray::fromStdString(encodeSettingsText(text.toStdU16String())));
}

void ProfileKeys::setValue(const QString& group, const char* key, const QByteArray& value)
{
    keys_.setValue(group.toStdString(), key, value.toStdString());
}

QByteArray ProfileKeys::toBytes() const
{
    return QByteArray::fromStdString(keys_.toBytes());
}
