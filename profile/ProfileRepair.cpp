#include "ProfileRepair.h"

#include "ProfileKeys.h"

#include <QFile>
#include <QHash>

#include <cerrno>

namespace {

// A boolean is what the store writes to leave no profile as the default.
constexpr char NO_DEFAULT[] = "true";
constexpr int MOST_COPIES = 1000;

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

void leaveOneDefault(ProfileKeys& keys, const QList<QString>& groups)
{
    QList<QString> marked;
    for (const QString& group : groups) {
        if (keys.isOn(group, DEFAULT_PROFILE_KEY))
            marked += group;
    }
    if (marked.size() < 2)
        return;
    const QString named = keys.text(DEFAULT_GROUP, DEFAULT_KEY);
    const QString kept = groups.contains(named) ? named : marked.first();
    if (!marked.removeOne(kept))
        keys.setValue(kept, DEFAULT_PROFILE_KEY, "true");
    for (const QString& group : marked)
        keys.setValue(group, DEFAULT_PROFILE_KEY, "false");
    keys.setText(DEFAULT_GROUP, DEFAULT_KEY, kept);
}

using NewNames = QHash<QString, QString>;

NewNames numberFromZero(const QList<QString>& groups)
{
    NewNames newNames;
    for (const QString& group : groups)
        newNames.insert(group, QStringLiteral("Profile%1").arg(newNames.size()));
    return newNames;
}

// A default that is no profile's must not become that of the one that gets its number.
void followDefault(ProfileKeys& keys, const NewNames& newNames)
{
    const QString named = keys.text(DEFAULT_GROUP, DEFAULT_KEY);
    if (newNames.contains(named))
        keys.setText(DEFAULT_GROUP, DEFAULT_KEY, newNames[named]);
    else if (newNames.values().contains(named))
        keys.setValue(DEFAULT_GROUP, DEFAULT_KEY, NO_DEFAULT);
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
    leaveOneDefault(keys, groups);
    followDefault(keys, newNames);
    keys.setValue(SUMMARY_GROUP, TOTAL_KEY, QByteArray::number(groups.size()));
    return renameGroups(keys.toBytes(), newNames, keys.remnantGroups());
}

// Where the copy is; empty when it cannot be made. One that an earlier repair left before it was killed will
// do.
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
    return QByteArray();
}

} // namespace

ProfileRepair repairProfileFile(const QString& path, const Release& release)
{
    const QByteArray file = QFile::encodeName(path);
    const SettingsLock lock(file);
    const std::optional<QByteArray> bytes = readSettingsBytes(file);
    if (!bytes) {
        if (errno == ENOENT)
            return {};
        return failed(ProfileFile::tr("The settings file cannot be read."));
    }
    const ProfileFile old(*bytes);
    if (old.findings().isEmpty())
        return {};

    // Twice: a group that has become the file's first may hold a key that only a first group must not hold.
    const QByteArray mended = repaired(repaired(*bytes));
    if (!ProfileFile(mended).findings().isEmpty())
        return failed(ProfileFile::tr("The settings file is beyond repair."));
    const QByteArray copy = keepCopy(file, *bytes);
    if (copy.isEmpty())
        return failed(ProfileFile::tr("No copy of the settings file can be kept."));
    if (release && !release(old.profiles()))
        return {ProfileRepair::Held, QString(),
                ProfileFile::tr("The SIP daemon does not disconnect the profiles for the repair.")};
    if (!replaceSettingsBytes(file, mended))
        return failed(ProfileFile::tr("The settings file cannot be written."));
    return {ProfileRepair::Repaired, QFile::decodeName(copy), QString()};
}
