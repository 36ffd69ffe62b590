#include "ProfileKeys.h"

#include "SettingsText.h"

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

const QString GROUP_STEM = QStringLiteral("Profile");
// Nobody typed these: the store writes them by itself.
constexpr std::array SWITCH_KEYS = {AUTO_CONNECT_KEY, "Locked", DEFAULT_PROFILE_KEY, "NeedUserIDPass",
                                    "RemPassword"};

bool parses(QByteArrayView bytes)
{
    const KeyFile keys(g_key_file_new());
    return parseSettings(keys.get(), bytes);
}

struct Mended
{
    QByteArray bytes;
    int lines = 0;
    int firstLine = 0;
};

// Group names are read as Latin-1 here: UTF-8 would lose a byte order mark, and take the group for another.
bool isProfileGroup(const QString& group)
{
    if (!group.startsWith(GROUP_STEM) || group.size() == GROUP_STEM.size())
        return false;
    const QStringView number = QStringView(group).sliced(GROUP_STEM.size());
    return (number[0] != u'0' || number.size() == 1) &&
           std::all_of(number.begin(), number.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

bool isKnownGroup(const QByteArray& name)
{
    return name == SUMMARY_GROUP || name == DEFAULT_GROUP || name == "InputSettings" ||
           isProfileGroup(QString::fromLatin1(name));
}

// A line that was to begin a group still does, lest the keys below it count to the group above. Other
// brackets are somebody's note among the keys of one group.
QByteArray mendLine(const QByteArray& line, int number)
{
    const QByteArray text = line.trimmed();
    const bool isOpened = text.startsWith('[');
    const bool isClosed = text.endsWith(']');
    const QByteArray name = text.split(']').first().replace('[', "").trimmed();
    if ((isOpened || isClosed) && isKnownGroup(name))
        return '[' + name + ']';
    return "# " + line +
           (isOpened && isClosed ? "\n[Line " + QByteArray::number(number) + ']' : QByteArray());
}

// Mends each line that is neither blank, a comment, a group nor a key of a group.
Mended mend(QByteArrayView bytes)
{
    Mended mended;
    bool inGroup = false;
    int number = 0;
    for (const QByteArray& line : withoutByteOrderMark(bytes).toByteArray().split('\n')) {
        ++number;
        QByteArray good = withoutByteOrderMark(line).toByteArray();
        good.replace('\0', "");
        if (!parses(good) && !(inGroup && parses("[group]\n" + good)))
            good = mendLine(good, number);
        if (good != line && mended.lines++ == 0)
            mended.firstLine = number;
        inGroup = inGroup || parses(good + "\nkey=value");
        mended.bytes += good + '\n';
    }
    mended.bytes.chop(1);
    return mended;
}

QString firstFree(const QSet<QString>& groups)
{
    int number = 0;
    while (groups.contains(GROUP_STEM + QString::number(number)))
        ++number;
    return GROUP_STEM + QString::number(number);
}

struct Section
{
    qsizetype line; // of its header
    QString group;
    bool isNamed = false;
};

QList<Section> sectionsOf(const QList<QByteArray>& lines)
{
    QList<Section> sections;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        if (line.startsWith('['))
            sections.append({i, QString::fromLatin1(line.mid(1, line.size() - 2))});
        else if (!sections.isEmpty() && line.left(line.indexOf('=')).trimmed() == DISPLAY_NAME_KEY)
            sections.last().isNamed = true;
    }
    return sections;
}

// Their numbers may be longer than any integer.
bool isBefore(const QString& a, const QString& b)
{
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace

ProfileKeys::ProfileKeys(const QByteArray& bytes) : keys_(g_key_file_new())
{
    Mended mended = {bytes};
    if (!parses(bytes))
        mended = mend(bytes);
    unparsedLines_ = mended.lines;
    firstUnparsedLine_ = mended.firstLine;
    isParsed_ = parseSettings(keys_.get(), separateGroups(withoutByteOrderMark(mended.bytes).toByteArray()));
    if (!isParsed_)
        keys_.reset(g_key_file_new());
}

QByteArray ProfileKeys::separateGroups(const QByteArray& bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    const QList<Section> sections = sectionsOf(lines);
    QSet<QString> groups;
    QHash<QString, qsizetype> lastLines;
    for (const Section& section : sections) {
        groups.insert(section.group);
        if (section.isNamed)
            lastLines.insert(section.group, section.line);
    }
    for (const Section& section : sections) {
        if (!section.isNamed || !isProfileGroup(section.group) || section.line == lastLines[section.group])
            continue;
        const QString own = firstFree(groups);
        groups.insert(own);
        sharedGroups_.insert(own, section.group);
        lines[section.line] = '[' + own.toUtf8() + ']';
    }
    return lines.join('\n');
}

QList<QString> ProfileKeys::numberedGroups() const
{
    QList<QString> groups;
    const Texts names(g_key_file_get_groups(keys_.get(), nullptr));
    for (gchar** name = names.get(); *name != nullptr; ++name) {
        const QString group = QString::fromLatin1(*name);
        if (isProfileGroup(group))
            groups += group;
    }
    std::sort(groups.begin(), groups.end(), isBefore);
    return groups;
}

bool ProfileKeys::isRemnant(const QString& group) const
{
    const Texts keys(g_key_file_get_keys(keys_.get(), group.toUtf8().constData(), nullptr, nullptr));
    for (gchar** key = keys.get(); *key != nullptr; ++key) {
        const auto isThis = [key](const char* name) { return qstrcmp(name, *key) == 0; };
        if (std::none_of(SWITCH_KEYS.begin(), SWITCH_KEYS.end(), isThis))
            return false;
    }
    return true;
}

QList<QString> ProfileKeys::profileGroups() const
{
    QList<QString> groups = numberedGroups();
    groups.removeIf([this](const QString& group) { return isRemnant(group); });
    return groups;
}

QSet<QString> ProfileKeys::remnantGroups() const
{
    QList<QString> groups = numberedGroups();
    groups.removeIf([this](const QString& group) { return !isRemnant(group); });
    return QSet<QString>(groups.begin(), groups.end());
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
    return group.isEmpty() ? !isProfileGroup(named) : group == named && isOn(group, DEFAULT_PROFILE_KEY);
}

ProfileKeys::Contents ProfileKeys::contents(const QString& group) const
{
    Contents contents;
    const Texts keys(g_key_file_get_keys(keys_.get(), group.toUtf8().constData(), nullptr, nullptr));
    for (gchar** key = keys.get(); *key != nullptr; ++key) {
        const char* const changing = group == SUMMARY_GROUP   ? TOTAL_KEY
                                     : group == DEFAULT_GROUP ? DEFAULT_KEY
                                                              : DEFAULT_PROFILE_KEY;
        if (qstrcmp(changing, *key) != 0)
            contents.insert(*key, value(group, *key));
    }
    return contents;
}

QMap<QString, ProfileKeys::Contents> ProfileKeys::otherContents() const
{
    QMap<QString, Contents> others;
    const Texts names(g_key_file_get_groups(keys_.get(), nullptr));
    for (gchar** name = names.get(); *name != nullptr; ++name) {
        const QString group = QString::fromUtf8(*name);
        const Contents all = contents(group);
        if (!isProfileGroup(group) && !all.isEmpty())
            others.insert(group, all);
    }
    return others;
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
