#include "ProfileRepair.h"

#include "ProfileKeys.h"
#include "SettingsFailure.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <cerrno>

namespace {

// A boolean is what the store writes to leave no profile as the default.
constexpr char NO_DEFAULT[] = "true";
constexpr int MOST_COPIES = 1000;
// Of what the user is told.
constexpr qsizetype MOST_NAMES = 2;
constexpr qsizetype LONGEST_NAME = 20;

ProfileRepair failed(const QString& why)
{
    return {ProfileRepair::Failed, QString(), why};
}

// The name itself, or else the first of "name (2)", "name (3)" and so on that nobody has.
QString uniqueName(const QString& name, const QSet<QString>& taken)
{
    QString unique = name;
    for (int number = 2; taken.contains(unique); ++number)
        unique = QStringLiteral("%1 (%2)").arg(name, QString::number(number));
    return unique;
}

QString nameFor(const ProfileKeys& keys, const QString& group)
{
    const QString user = keys.readableText(group, USER_KEY);
    const QString server = keys.readableText(group, SERVER_KEY);
    for (const QString& name :
         {keys.readableText(group, DISPLAY_NAME_KEY),
          user.isEmpty() || server.isEmpty() ? QString() : user + u'@' + server, user, server}) {
        if (!name.isEmpty())
            return name;
    }
    return group;
}

void giveNames(ProfileKeys& keys, const QList<QString>& groups)
{
    QSet<QString> all;
    for (const QString& group : groups)
        all.insert(keys.text(group, DISPLAY_NAME_KEY));
    QSet<QString> seen = {QString()};
    for (const QString& group : groups) {
        const QString name = keys.text(group, DISPLAY_NAME_KEY);
        if (!seen.contains(name)) {
            seen.insert(name);
            continue;
        }
        const QString given = uniqueName(nameFor(keys, group), all);
        all.insert(given);
        seen.insert(given);
        keys.setText(group, DISPLAY_NAME_KEY, given);
    }
}

using NewNames = QHash<QString, QString>;

NewNames numberFromZero(const QList<QString>& groups)
{
    NewNames newNames;
    for (const QString& group : groups)
        newNames.insert(group, QStringLiteral("Profile%1").arg(newNames.size()));
    return newNames;
}

// The mark and the name of the default agree afterwards. A name that is no profile's must not become that of
// the one that gets its number.
void settleDefault(ProfileKeys& keys, const QList<QString>& groups, const NewNames& newNames)
{
    const QString kept = keys.defaultGroup();
    if (kept.isEmpty() && keys.agreesOnDefault())
        return;
    for (const QString& group : groups) {
        if (keys.isOn(group, DEFAULT_PROFILE_KEY) != (group == kept))
            keys.setValue(group, DEFAULT_PROFILE_KEY, group == kept ? "true" : "false");
    }
    if (kept.isEmpty())
        keys.setValue(DEFAULT_GROUP, DEFAULT_KEY, NO_DEFAULT);
    else
        keys.setText(DEFAULT_GROUP, DEFAULT_KEY, newNames[kept]);
}

// In the text, where the groups keep their places and their comments.
QByteArray renameGroups(const QByteArray& bytes, const NewNames& newNames, const QSet<QString>& leftOut)
{
    QByteArray renamed;
    bool isLeftOut = false;
    for (QByteArray line : bytes.split('\n')) {
        if (line.startsWith('[') && line.endsWith(']')) {
            const QString group = QString::fromLatin1(line.sliced(1).chopped(1));
            isLeftOut = leftOut.contains(group);
            if (newNames.contains(group))
                line = '[' + newNames[group].toUtf8() + ']';
        }
        if (!isLeftOut || line.trimmed().isEmpty() || line.trimmed().startsWith('#'))
            renamed += line + '\n';
    }
    renamed.chop(1);
    return renamed;
}

QByteArray repaired(const QByteArray& bytes)
{
    ProfileKeys keys(bytes);
    const QList<QString> groups = keys.profileGroups();
    const NewNames newNames = numberFromZero(groups);
    giveNames(keys, groups);
    settleDefault(keys, groups, newNames);
    keys.setValue(SUMMARY_GROUP, TOTAL_KEY, QByteArray::number(groups.size()));
    return renameGroups(keys.toBytes(), newNames, keys.remnantGroups());
}

// Where the copy is; empty, errno saying why, when it cannot be made. One that an earlier repair left before
// it was killed will do.
QByteArray keepCopy(const QByteArray& path, const QByteArray& bytes)
{
    const QByteArray base = path + ".old";
    QByteArray copy = base;
    for (int number = 1; number <= MOST_COPIES; ++number) {
        const std::optional<QByteArray> there = readSettingsBytes(copy);
        if (there == bytes)
            return copy;
        if (!there && errno == ENOENT)
            return replaceSettingsBytes(copy, bytes) ? copy : QByteArray();
        copy = base + '.' + QByteArray::number(number);
    }
    errno = SETTINGS_TOO_MANY_COPIES;
    return QByteArray();
}

// Nothing but numbers, and how the file tells the default.
bool differInNumbersAlone(const QByteArray& first, const QByteArray& second)
{
    const ProfileKeys a(first);
    const ProfileKeys b(second);
    const QList<QString> groupsA = a.profileGroups();
    const QList<QString> groupsB = b.profileGroups();
    return a.unparsedLines() == 0 && groupsA.size() == groupsB.size() &&
           groupsA.indexOf(a.defaultGroup()) == groupsB.indexOf(b.defaultGroup()) &&
           a.otherContents() == b.otherContents() &&
           std::equal(groupsA.begin(), groupsA.end(), groupsB.begin(),
                      [&](const QString& groupA, const QString& groupB) {
                          return a.sharedGroup(groupA).isEmpty() && a.contents(groupA) == b.contents(groupB);
                      });
}

ProfileRepair cannotWrite(const QByteArray& file, int error)
{
    return failed(ProfileFile::tr("The settings file cannot be written (%1).")
                      .arg(settingsReason(QFile::decodeName(file), error)));
}

ProfileRepair replaceFile(const QByteArray& file, const QByteArray& bytes, const QString& copy = QString())
{
    if (!replaceSettingsBytes(file, bytes))
        return cannotWrite(file, errno);
    return {ProfileRepair::Repaired, copy, QString()};
}

ProfileRepair replaceNumbers(const QByteArray& file, const QByteArray& old, const QByteArray& mended)
{
    if (!differInNumbersAlone(old, mended))
        return {ProfileRepair::Damaged, QString(), ProfileFile::tr("The settings file is damaged.")};
    return replaceFile(file, mended);
}

ProfileRepair replaceAndKeepOld(const QByteArray& file, const QByteArray& old, const QByteArray& mended)
{
    const QByteArray copy = keepCopy(file, old);
    if (copy.isEmpty())
        return failed(ProfileFile::tr("No copy of the settings file can be kept (%1).")
                          .arg(settingsReason(QFile::decodeName(file), errno)));
    return replaceFile(file, mended, QFile::decodeName(copy));
}

using Replace = ProfileRepair(const QByteArray& file, const QByteArray& old, const QByteArray& mended);

ProfileRepair mendFile(const QString& path, Replace* replace)
{
    const QByteArray file = QFile::encodeName(path);
    const SettingsLock lock(file);
    const std::optional<QByteArray> bytes = readSettingsBytes(file);
    if (!bytes) {
        if (errno == ENOENT)
            return {};
        return {ProfileRepair::Unread, QString(),
                ProfileFile::tr("The settings file cannot be read (%1).").arg(settingsReason(path, errno))};
    }
    if (ProfileFile(*bytes).findings().isEmpty())
        return {};

    // Twice: a group that has become the file's first may hold a key that only a first group must not hold.
    const QByteArray mended = repaired(repaired(*bytes));
    if (!ProfileFile(mended).findings().isEmpty())
        return failed(ProfileFile::tr("The settings file is beyond repair."));
    if (const int error = lock.refusal())
        return cannotWrite(file, error);
    return replace(file, *bytes, mended);
}

QString inQuotes(const QString& name)
{
    QString shown = printable(name);
    if (shown.size() > LONGEST_NAME)
        shown = shown.first(LONGEST_NAME - 1) + u'…';
    return QStringLiteral("“%1”").arg(shown);
}

// “A”, “B” and 2 more
QString listOf(const QStringList& names)
{
    QStringList shown;
    for (const QString& name : names.first(qMin(names.size(), MOST_NAMES)))
        shown += inQuotes(name);
    const QString list = shown.join(QStringLiteral(", "));
    return names.size() <= MOST_NAMES
               ? list
               : ProfileFile::tr("%1 and %2 more").arg(list).arg(names.size() - MOST_NAMES);
}

} // namespace

ProfileRepair tidyProfileFile(const QString& path)
{
    return mendFile(path, replaceNumbers);
}

ProfileRepair repairProfileFile(const QString& path)
{
    return mendFile(path, replaceAndKeepOld);
}

QStringList describeRepair(const QString& path)
{
    const QByteArray bytes = readSettingsBytes(QFile::encodeName(path)).value_or(QByteArray());
    ProfileKeys keys(bytes);
    const ProfileKeys former = ProfileKeys(bytes);
    const QList<QString> groups = keys.profileGroups();
    giveNames(keys, groups);
    QStringList shownAgain;
    QStringList named;
    QStringList renamed;
    for (const QString& group : groups) {
        const QString name = keys.text(group, DISPLAY_NAME_KEY);
        const QString formerName = former.text(group, DISPLAY_NAME_KEY);
        if (!keys.sharedGroup(group).isEmpty())
            shownAgain += name;
        if (formerName.isEmpty())
            named += name;
        else if (formerName != name)
            renamed += name;
    }

    QStringList sentences;
    const int lines = keys.unparsedLines() + ProfileKeys(repaired(bytes)).unparsedLines();
    if (lines == 1)
        sentences += ProfileFile::tr("A line that cannot be read is set aside.");
    else if (lines > 1)
        sentences += ProfileFile::tr("%1 lines that cannot be read are set aside.").arg(lines);
    if (!shownAgain.isEmpty())
        sentences += ProfileFile::tr("Listed again: %1.").arg(listOf(shownAgain));
    if (!named.isEmpty())
        sentences += ProfileFile::tr("Given a name: %1.").arg(listOf(named));
    if (!renamed.isEmpty())
        sentences += ProfileFile::tr("Renamed, since its name was taken: %1.").arg(listOf(renamed));
    return sentences;
}
