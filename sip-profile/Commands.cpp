#include "Commands.h"

#include "DaemonLink.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SettingsHostLock.h"

#include <QJsonArray>

namespace {

using Profile = ProfileFile::Profile;

constexpr int PROGRESS_STEP_MS = 1000;

// How often the daemon is asked anew when the settings file has changed meanwhile.
constexpr int MOST_ATTEMPTS = 10;

Outcome failure(int code, const QString& error)
{
    return {code, QString(), error, QJsonObject(), QString()};
}

QJsonObject toJson(const Profile& profile)
{
    return {{"name", profile.name}, {"group", profile.group}};
}

// Several lines of columns that stand below each other; blanks at a line's end are left out.
QString toColumns(const QList<QStringList>& rows)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(qMax(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = qMax(widths[i], row[i].size());
    }
    QString text;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i)
            line += printable(row[i]).leftJustified(widths[i] + 2);
        while (line.endsWith(u' '))
            line.chop(1);
        text += line + u'\n';
    }
    return text;
}

// Wrong numbers are ordinary while the phone's list is open: the phone puts them in order when it closes.
QString noteOn(const ProfileFile& file)
{
    if (file.findings().isEmpty() || describeRepair(ProfileFile::path()).isEmpty())
        return QString();
    return QStringLiteral("The settings file needs repair: see sip-profile check.");
}

Outcome noDaemon(const DaemonLink& link)
{
    return failure(link.state() == DaemonLink::Stranger ? EXIT_STRANGER : EXIT_NO_DAEMON, link.describe());
}

bool isUnreadable(const ProfileFile& file)
{
    return file.has(ProfileFile::Finding::CannotRead);
}

Outcome unreadable(const ProfileFile& file)
{
    return failure(EXIT_FILE, file.findings().first().text);
}

// The profile that goes by this name; otherwise why says why there is not just one.
std::optional<Profile> findProfile(const QString& name, Outcome& why)
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file)) {
        why = unreadable(file);
        return std::nullopt;
    }
    QList<Profile> found;
    for (const Profile& profile : file.profiles()) {
        if (!name.isEmpty() && (profile.name == name || profile.group == name))
            found += profile;
    }
    if (found.size() == 1)
        return found.first();
    if (found.isEmpty()) {
        why = failure(EXIT_NO_PROFILE, QStringLiteral("There is no profile “%1”.").arg(printable(name)));
        return std::nullopt;
    }
    QStringList descriptions;
    for (const Profile& profile : found)
        descriptions += describe(profile);
    why = failure(EXIT_NO_PROFILE, QStringLiteral("“%1” may be %2: say it by the name that no other has.")
                                       .arg(printable(name), descriptions.join(QStringLiteral(" or "))));
    return std::nullopt;
}

QString wordsFor(uint32_t status)
{
    switch (status) {
    case 0:
        return QStringLiteral("not connected");
    case 1:
        return QStringLiteral("working on it");
    case SIPD_PROFILE_CONNECTED:
        return QStringLiteral("connected");
    default:
        return QStringLiteral("not connected (status %1)").arg(status);
    }
}

Outcome statusOf(const QList<Profile>& profiles)
{
    DaemonLink link;
    QList<QStringList> rows;
    QJsonArray json;
    bool allConnected = true;
    for (const Profile& profile : profiles) {
        const auto status = link.state() == DaemonLink::Open ? link.status(profile.group) : std::nullopt;
        if (!status)
            break;
        rows += {profile.name, profile.group, wordsFor(*status)};
        QJsonObject entry = toJson(profile);
        entry["connected"] = *status == SIPD_PROFILE_CONNECTED;
        entry["status"] = static_cast<qint64>(*status);
        entry["message"] = wordsFor(*status);
        json.append(entry);
        allConnected = allConnected && *status == SIPD_PROFILE_CONNECTED;
    }
    if (link.state() != DaemonLink::Open)
        return noDaemon(link);
    return {
        allConnected ? EXIT_DONE : EXIT_NOT_SO, toColumns(rows), QString(), {{"profiles", json}}, QString()};
}

// The daemon knows profiles by their numbers in the file, which may change between a look into it and the
// answer: gives what attempt gives when the same stands in the file before and after.
template <class Look, class Attempt>
Outcome whileUnchanged(const Look& look, const Attempt& attempt)
{
    for (int attempts = 0; attempts < MOST_ATTEMPTS; ++attempts) {
        const auto before = look();
        Outcome outcome = attempt(before);
        if (look() == before)
            return outcome;
    }
    return failure(EXIT_FILE, QStringLiteral("The settings file changes all the time."));
}

QString wordsFor(DaemonLink::Request request, _SIPD_APP_ACK_E ack)
{
    switch (ack) {
    case SIPD_ACK_SUCCESS:
        return request == DaemonLink::Connect ? QStringLiteral("connected") : QStringLiteral("disconnected");
    case SIPD_ACK_FAILED:
        return QStringLiteral("the SIP daemon could not do it");
    case SIPD_ACK_SERVICE_UNAVAILABLE:
        return QStringLiteral("the SIP service is not available");
    case SIPD_ACK_INCORRECT_PROFILE:
        return QStringLiteral("the profile is not right: server, port, user name or password");
    case SIPD_ACK_CONNECT_FAILED:
        return QStringLiteral("the SIP server cannot be reached");
    }
    return QStringLiteral("the SIP daemon gave an answer without meaning (%1)").arg(ack);
}

Outcome ask(DaemonLink::Request request, const QString& name, const Progress& progress)
{
    Outcome why;
    std::optional<Profile> profile = findProfile(name, why);
    if (!profile)
        return why;

    DaemonLink link;
    if (link.state() != DaemonLink::Open)
        return noDaemon(link);
    // The daemon may have taken its time, and the profile another number.
    profile = findProfile(name, why);
    if (!profile)
        return why;
    const QString what = (request == DaemonLink::Connect ? QStringLiteral("Connecting %1")
                                                         : QStringLiteral("Disconnecting %1"))
                             .arg(describe(*profile));
    progress(what, 0);
    if (!link.send(request, profile->group))
        return noDaemon(link);
    for (int seconds = 0; !link.waitForAck(PROGRESS_STEP_MS);)
        progress(what, ++seconds);
    const std::optional<_SIPD_APP_ACK_E> ack = link.readAck();
    if (!ack)
        return noDaemon(link);

    const QString words = wordsFor(request, *ack);
    QJsonObject json = toJson(*profile);
    json["ack"] = static_cast<qint64>(*ack);
    json["message"] = words;
    const QString line = QStringLiteral("%1: %2").arg(describe(*profile), words);
    if (*ack == SIPD_ACK_SUCCESS)
        return {EXIT_DONE, line + u'\n', QString(), json, QString()};
    const bool isKnown = *ack <= SIPD_ACK_CONNECT_FAILED;
    return {isKnown ? EXIT_ACK + static_cast<int>(*ack) : EXIT_NO_DAEMON, QString(), line, json, QString()};
}

} // namespace

Outcome listProfiles()
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file))
        return unreadable(file);
    QList<QStringList> rows;
    QJsonArray profiles;
    for (const Profile& profile : file.profiles()) {
        rows += {profile.name, profile.group, QStringLiteral("%1:%2").arg(profile.server).arg(profile.port),
                 profile.user, profile.isDefault ? QStringLiteral("default") : QString()};
        QJsonObject entry = toJson(profile);
        entry["server"] = profile.server;
        entry["port"] = static_cast<qint64>(profile.port);
        entry["user"] = profile.user;
        entry["default"] = profile.isDefault;
        entry["autoConnect"] = profile.autoConnect;
        profiles.append(entry);
    }
    return {EXIT_DONE, toColumns(rows), QString(), {{"profiles", profiles}}, noteOn(file)};
}

Outcome showStatus()
{
    Outcome why;
    QString note;
    const auto look = [&]() -> std::optional<QList<Profile>> {
        const ProfileFile file(ProfileFile::path());
        if (isUnreadable(file)) {
            why = unreadable(file);
            return std::nullopt;
        }
        note = noteOn(file);
        return file.profiles();
    };
    Outcome outcome = whileUnchanged(look, [&](const std::optional<QList<Profile>>& profiles) {
        return profiles ? statusOf(*profiles) : why;
    });
    if (outcome.code != EXIT_FILE)
        outcome.note = note;
    if (outcome.code == EXIT_NOT_SO)
        outcome.code = EXIT_DONE;
    return outcome;
}

Outcome showStatusOf(const QString& name)
{
    Outcome why;
    const auto look = [&] { return findProfile(name, why); };
    return whileUnchanged(
        look, [&](const std::optional<Profile>& profile) { return profile ? statusOf({*profile}) : why; });
}

Outcome connectProfile(const QString& name, const Progress& progress)
{
    return ask(DaemonLink::Connect, name, progress);
}

Outcome disconnectProfile(const QString& name, const Progress& progress)
{
    return ask(DaemonLink::Disconnect, name, progress);
}

namespace {

QString nameOf(ProfileFile::Finding::Kind kind)
{
    using Finding = ProfileFile::Finding;
    switch (kind) {
    case Finding::CannotRead:
        return QStringLiteral("cannot-read");
    case Finding::UnparsedLine:
        return QStringLiteral("unparsed-line");
    case Finding::Endless:
        return QStringLiteral("endless");
    case Finding::Hidden:
        return QStringLiteral("hidden");
    case Finding::Doubled:
        return QStringLiteral("doubled");
    case Finding::NoName:
        return QStringLiteral("no-name");
    case Finding::SameName:
        return QStringLiteral("same-name");
    case Finding::Gap:
        return QStringLiteral("gap");
    case Finding::WrongCount:
        return QStringLiteral("wrong-count");
    case Finding::SeveralDefaults:
        return QStringLiteral("several-defaults");
    case Finding::WrongDefault:
        return QStringLiteral("wrong-default");
    }
    return QString();
}

QJsonArray toJson(const QList<ProfileFile::Finding>& findings)
{
    QJsonArray array;
    for (const ProfileFile::Finding& finding : findings)
        array.append(
            QJsonObject{{"kind", nameOf(finding.kind)}, {"group", finding.group}, {"message", finding.text}});
    return array;
}

QString toLines(const QList<ProfileFile::Finding>& findings)
{
    QString lines;
    for (const ProfileFile::Finding& finding : findings)
        lines += finding.text + u'\n';
    return lines;
}

QString nothingWrong()
{
    return QStringLiteral("Nothing is wrong with %1.\n").arg(ProfileFile::path());
}

Outcome nothingToRepair()
{
    const QJsonObject json = {{"file", ProfileFile::path()}, {"findings", QJsonArray()}, {"repaired", false}};
    return {EXIT_DONE, nothingWrong(), QString(), json, QString()};
}

} // namespace

Outcome checkFile()
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file))
        return unreadable(file);
    const QJsonObject json = {{"file", ProfileFile::path()},
                              {"findings", toJson(file.findings())},
                              {"loadEnds", !file.has(ProfileFile::Finding::Endless)}};
    if (file.findings().isEmpty())
        return {EXIT_DONE, nothingWrong(), QString(), json, QString()};
    return {EXIT_NOT_SO, toLines(file.findings()), QString(), json, QString()};
}

Outcome repairFile()
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file))
        return unreadable(file);
    if (file.findings().isEmpty())
        return nothingToRepair();

    // An open list has the numbers of the old file.
    SettingsHostLock lock;
    if (lock.hold() == SettingsHostLock::HeldByAnother)
        return failure(EXIT_FILE, QStringLiteral("A phone has the profiles open. Close it, then try again."));
    const ProfileRepair repair = repairProfileFile(ProfileFile::path());
    if (!repair.error.isEmpty())
        return failure(EXIT_FILE, repair.error);
    if (repair.outcome == ProfileRepair::NothingToDo)
        return nothingToRepair();
    const QJsonObject json = {{"file", ProfileFile::path()},
                              {"findings", toJson(file.findings())},
                              {"repaired", true},
                              {"copy", repair.copy}};
    const QString done = QStringLiteral("Repaired. The old file is kept as %1.\n").arg(repair.copy);
    return {EXIT_DONE, toLines(file.findings()) + done, QString(), json, QString()};
}
