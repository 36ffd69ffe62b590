// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileRepair.h"

#include "ProfileKeys.h"
#include "SettingsFailure.h"
#include "SettingsFile.h"

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
    return {.outcome = ProfileRepair::Failed, .error = why};
}

// The name itself, or else the first of "name (2)", "name (3)" and so on that no profile has.
QString uniqueName(const QString& name, const QSet<QString>& taken)
{
    QString unique = name;
    for (int number = 2; taken.contains(unique); ++number)
        unique = QStringLiteral("%1 (%2)").arg(name, QString::number(number));
    return unique;
}

QString nameFor(const ProfileKeys& keys, const QString& group)
{
    const QString user = keys.readableText(group, USER_ID_KEY);
    const QString server = keys.readableText(group, SERVER_KEY);
    for (const QString& name :
         {keys.readableText(group, DISPLAY_NAME_KEY),
          user.isEmpty() || server.isEmpty() ? QString() : user + u'@' + server, user, server}) {
        if (!name.isEmpty())
            return name;
    }
    return group;
}

QStringList namesOf(const ProfileKeys& keys)
{
    QStringList names;
    for (const QString& group : keys.profileGroups())
        names += keys.text(group, DISPLAY_NAME_KEY);
    return names;
}

// The names of the profiles, each changed that is empty or another's before it.
QStringList uniqueNames(const ProfileKeys& keys)
{
    const QList<QString> groups = keys.profileGroups();
    QStringList names = namesOf(keys);
    QSet<QString> all(names.begin(), names.end());
    QSet<QString> seen = {QString()};
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (seen.contains(names[i]))
            names[i] = uniqueName(nameFor(keys, groups[i]), all);
        all.insert(names[i]);
        seen.insert(names[i]);
    }
    return names;
}

// The profile that the file as it was, old, has as its default becomes the one that is marked and named.
void settleDefault(ProfileKeys& keys, const ProfileKeys& old)
{
    const QList<QString> groups = old.profileGroups();
    const qsizetype kept = groups.indexOf(old.defaultGroup());
    if (kept < 0 && old.agreesOnDefault())
        return;
    for (qsizetype i = 0; i < groups.size(); ++i) {
        if (keys.isOn(profileGroup(i), DEFAULT_PROFILE_KEY) != (i == kept))
            keys.setValue(profileGroup(i), DEFAULT_PROFILE_KEY, i == kept ? "true" : "false");
    }
    // A name that is no profile's must not become that of the one that gets its number.
    if (kept < 0)
        keys.setValue(DEFAULT_GROUP, DEFAULT_KEY, NO_DEFAULT);
    else
        keys.setText(DEFAULT_GROUP, DEFAULT_KEY, profileGroup(kept));
}

// A file, and what it becomes.
struct Mended
{
    explicit Mended(const QByteArray& bytes);

    const ProfileKeys old;
    ProfileKeys keys;
};

Mended::Mended(const QByteArray& bytes) : old(bytes), keys(old.numberedFromZero())
{
    const QStringList names = uniqueNames(old);
    const QStringList formerNames = namesOf(old);
    for (qsizetype i = 0; i < names.size(); ++i) {
        if (names[i] != formerNames[i])
            keys.setText(profileGroup(i), DISPLAY_NAME_KEY, names[i]);
    }
    settleDefault(keys, old);
    keys.setValue(SUMMARY_GROUP, TOTAL_KEY, QByteArray::number(names.size()));
}

qsizetype defaultOf(const ProfileKeys& keys)
{
    return keys.profileGroups().indexOf(keys.defaultGroup());
}

// Nothing is wrong with the new file, and all that the profiles and the other groups hold is in it.
bool isWhole(const Mended& mended)
{
    const QByteArray bytes = mended.keys.toBytes();
    const ProfileKeys written(bytes);
    return mended.old.isParsed() && ProfileFile(bytes).findings().isEmpty() &&
           written.contents() == mended.old.contents() && defaultOf(written) == defaultOf(mended.old);
}

std::optional<QByteArray> readBytes(const QByteArray& path)
{
    const std::optional<std::string> bytes = readSettingsBytes(path.toStdString());
    return bytes ? std::optional(QByteArray::fromStdString(*bytes)) : std::nullopt;
}

bool replaceBytes(const QByteArray& path, const QByteArray& bytes)
{
    return replaceSettingsFile(path.toStdString(), bytes.toStdString());
}

// The path of the copy; empty, errno saying why, when it cannot be made. A copy of these bytes that an
// earlier repair has left is used again.
QByteArray keepCopy(const QByteArray& path, const QByteArray& bytes)
{
    const QByteArray base = path + ".old";
    QByteArray copy = base;
    for (int number = 1; number <= MOST_COPIES; ++number) {
        const std::optional<QByteArray> there = readBytes(copy);
        if (there == bytes)
            return copy;
        if (!there && errno == ENOENT)
            return replaceBytes(copy, bytes) ? copy : QByteArray();
        copy = base + '.' + QByteArray::number(number);
    }
    errno = SETTINGS_TOO_MANY_COPIES;
    return QByteArray();
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

QStringList describe(const Mended& mended)
{
    const QList<QString> groups = mended.old.profileGroups();
    const QStringList formerNames = namesOf(mended.old);
    QStringList listedAgain;
    QStringList named;
    QStringList renamed;
    for (qsizetype i = 0; i < groups.size(); ++i) {
        const QString name = mended.keys.text(profileGroup(i), DISPLAY_NAME_KEY);
        if (!mended.old.formerGroup(groups[i]).isEmpty())
            listedAgain += name;
        if (formerNames[i].isEmpty())
            named += name;
        else if (formerNames[i] != name)
            renamed += name;
    }

    QStringList sentences;
    const int lines = mended.old.rejectedLines() + mended.keys.rejectedLines();
    if (lines == 1)
        sentences += ProfileFile::tr("A line that cannot be read is set aside.");
    else if (lines > 1)
        sentences += ProfileFile::tr("%1 lines that cannot be read are set aside.").arg(lines);
    if (!listedAgain.isEmpty())
        sentences += ProfileFile::tr("Listed again: %1.").arg(listOf(listedAgain));
    if (!named.isEmpty())
        sentences += ProfileFile::tr("Given a name: %1.").arg(listOf(named));
    if (!renamed.isEmpty())
        sentences += ProfileFile::tr("Renamed, since its name was taken: %1.").arg(listOf(renamed));
    return sentences;
}

enum class Way { Tidy, Repair };

ProfileRepair mendFile(const QString& path, Way way)
{
    const QByteArray file = QFile::encodeName(path);
    const auto because = [&path](const QString& text) { return text.arg(settingsReason(path, errno)); };
    const SettingsLock lock(file.toStdString());
    const std::optional<QByteArray> bytes = readBytes(file);
    if (!bytes && errno == ENOENT)
        return {};
    if (!bytes)
        return {.outcome = ProfileRepair::Unread,
                .error = because(ProfileFile::tr("The settings file cannot be read (%1)."))};
    if (ProfileFile(*bytes).findings().isEmpty())
        return {};

    const Mended mended(*bytes);
    if (!isWhole(mended))
        return failed(ProfileFile::tr("The settings file is beyond repair."));
    const QString cannotWrite = ProfileFile::tr("The settings file cannot be written (%1).");
    errno = lock.refusal();
    if (errno != 0)
        return failed(because(cannotWrite));
    if (way == Way::Tidy && !describe(mended).isEmpty())
        return {.outcome = ProfileRepair::Damaged, .error = ProfileFile::tr("The settings file is damaged.")};
    const QByteArray copy = way == Way::Repair ? keepCopy(file, *bytes) : QByteArray();
    if (way == Way::Repair && copy.isEmpty())
        return failed(because(ProfileFile::tr("No copy of the settings file can be kept (%1).")));
    if (!replaceBytes(file, mended.keys.toBytes()))
        return failed(because(cannotWrite));
    return {.outcome = ProfileRepair::Repaired, .copy = QFile::decodeName(copy)};
}

} // namespace

ProfileRepair tidyProfileFile(const QString& path)
{
    return mendFile(path, Way::Tidy);
}

ProfileRepair repairProfileFile(const QString& path)
{
    return mendFile(path, Way::Repair);
}

QStringList describeRepair(const QString& path)
{
    return describe(Mended(readBytes(QFile::encodeName(path)).value_or(QByteArray())));
}
