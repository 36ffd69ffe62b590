// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Commands.h"

#include "DaemonLink.h"
#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "SettingsHostLock.h"

#include <QJsonArray>

#include <algorithm>
#include <arpa/inet.h>

namespace {

using Profile = ProfileFile::Profile;

constexpr int PROGRESS_STEP_MS = 1000;

// How often a command asks the daemon again because the settings file has changed meanwhile.
constexpr int MOST_ATTEMPTS = 10;

// The acks of a daemon that has not carried out a request, from SIPD_ACK_FAILED on.
constexpr std::array FAILURES = {
    "the SIP daemon could not do it",
    "the SIP service is not available",
    "the profile is not right: server, port, user name or password",
    "the SIP server cannot be reached",
};
static_assert(FAILURES.size() == SIPD_ACK_CONNECT_FAILED);

// By Finding::Kind.
constexpr std::array KINDS = {"cannot-read",   "endless",          "hidden",       "doubled",
                              "unparsed-line", "no-name",          "same-name",    "gap",
                              "wrong-count",   "several-defaults", "wrong-default"};
static_assert(KINDS.size() == ProfileFile::Finding::WrongDefault + 1);

Outcome failure(int code, const QString& error)
{
    return {.code = code, .error = error};
}

QJsonObject toJson(const Profile& profile)
{
    return {{"name", profile.name}, {"group", profile.group}};
}

// Lines with aligned columns, without blanks at their ends.
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

// Wrong numbers are ordinary while the phone's list is open: the phone puts them in order when the list
// closes.
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

// The one profile of that display name or group name. Nothing when there is none or more than one; why is the
// outcome of the command then.
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
    if (status == SIPD_PROFILE_CONNECTED)
        return QStringLiteral("connected");
    if (status == 1)
        return QStringLiteral("working on it");
    return status == 0 ? QStringLiteral("not connected")
                       : QStringLiteral("not connected (status %1)").arg(status);
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
    return {.code = allConnected ? EXIT_DONE : EXIT_NOT_SO,
            .text = toColumns(rows),
            .json = {{"profiles", json}}};
}

// The daemon knows profiles by their numbers in the file, which may change before it answers. Reads the file
// and asks the daemon, again until both readings are equal, the one before and the one after.
template <class Read, class Ask>
Outcome askWhileUnchanged(const Read& read, const Ask& ask)
{
    for (int attempts = 0; attempts < MOST_ATTEMPTS; ++attempts) {
        const auto before = read();
        Outcome outcome = ask(before);
        if (read() == before)
            return outcome;
    }
    return failure(EXIT_FILE, QStringLiteral("The settings file changes all the time."));
}

QString wordsFor(DaemonLink::Request request, _SIPD_APP_ACK_E ack)
{
    if (ack == SIPD_ACK_SUCCESS)
        return request == DaemonLink::Connect ? QStringLiteral("connected") : QStringLiteral("disconnected");
    if (ack <= FAILURES.size())
        return QString::fromLatin1(FAILURES[ack - 1]);
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
    // The profile may have got another number while the daemon admitted this client.
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
        return {.text = line + u'\n', .json = json};
    const bool isKnown = *ack <= FAILURES.size();
    return {
        .code = isKnown ? EXIT_ACK + static_cast<int>(*ack) : EXIT_NO_DAEMON, .error = line, .json = json};
}

// An IPv6 address stands in brackets before the port.
QString addressOf(const Profile& profile)
{
    in6_addr address = {};
    const bool isIPv6 = inet_pton(AF_INET6, profile.server.toLatin1().constData(), &address) == 1;
    return (isIPv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
        .arg(profile.server, QString::number(profile.port));
}

Outcome listProfiles(const QStringList&, const Progress&)
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file))
        return unreadable(file);
    QList<QStringList> rows;
    QJsonArray profiles;
    for (const Profile& profile : file.profiles()) {
        rows += {profile.name, profile.group, addressOf(profile), profile.user,
                 profile.isDefault ? QStringLiteral("default") : QString()};
        QJsonObject entry = toJson(profile);
        entry["server"] = profile.server;
        entry["port"] = static_cast<qint64>(profile.port);
        entry["user"] = profile.user;
        entry["default"] = profile.isDefault;
        entry["autoConnect"] = profile.autoConnect;
        profiles.append(entry);
    }
    return {.text = toColumns(rows), .json = {{"profiles", profiles}}, .note = noteOn(file)};
}

Outcome showEveryStatus()
{
    Outcome why;
    QString note;
    const auto read = [&]() -> std::optional<QList<Profile>> {
        const ProfileFile file(ProfileFile::path());
        if (isUnreadable(file)) {
            why = unreadable(file);
            return std::nullopt;
        }
        note = noteOn(file);
        return file.profiles();
    };
    Outcome outcome = askWhileUnchanged(read, [&](const std::optional<QList<Profile>>& profiles) {
        return profiles ? statusOf(*profiles) : why;
    });
    if (outcome.code != EXIT_FILE)
        outcome.note = note;
    if (outcome.code == EXIT_NOT_SO)
        outcome.code = EXIT_DONE;
    return outcome;
}

Outcome showStatus(const QStringList& names, const Progress&)
{
    if (names.isEmpty())
        return showEveryStatus();
    Outcome why;
    const auto read = [&] { return findProfile(names.first(), why); };
    return askWhileUnchanged(
        read, [&](const std::optional<Profile>& profile) { return profile ? statusOf({*profile}) : why; });
}

Outcome connectProfile(const QStringList& names, const Progress& progress)
{
    return ask(DaemonLink::Connect, names.first(), progress);
}

Outcome disconnectProfile(const QStringList& names, const Progress& progress)
{
    return ask(DaemonLink::Disconnect, names.first(), progress);
}

QJsonArray toJson(const QList<ProfileFile::Finding>& findings)
{
    QJsonArray array;
    for (const ProfileFile::Finding& finding : findings)
        array.append(
            QJsonObject{{"kind", KINDS[finding.kind]}, {"group", finding.group}, {"message", finding.text}});
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
    return {.text = nothingWrong(),
            .json = {{"file", ProfileFile::path()}, {"findings", QJsonArray()}, {"repaired", false}}};
}

Outcome checkFile(const QStringList&, const Progress&)
{
    const ProfileFile file(ProfileFile::path());
    if (isUnreadable(file))
        return unreadable(file);
    const bool isGood = file.findings().isEmpty();
    return {.code = isGood ? EXIT_DONE : EXIT_NOT_SO,
            .text = isGood ? nothingWrong() : toLines(file.findings()),
            .json = {{"file", ProfileFile::path()},
                     {"findings", toJson(file.findings())},
                     {"loadEnds", !file.has(ProfileFile::Finding::Endless)}}};
}

Outcome repairFile(const QStringList&, const Progress&)
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
    return {.text = toLines(file.findings()) +
                    QStringLiteral("Repaired. The old file is kept as %1.\n").arg(repair.copy),
            .json = {{"file", ProfileFile::path()},
                     {"findings", toJson(file.findings())},
                     {"repaired", true},
                     {"copy", repair.copy}}};
}

} // namespace

const std::array<Command, 6> COMMANDS = {{
    {"list", "", 0, 0, listProfiles, "print the profiles: name, group, server, user"},
    {"status", "[NAME]", 0, 1, showStatus, "ask the SIP daemon whether the profiles are connected, or one"},
    {"connect", "NAME", 1, 1, connectProfile, "ask the SIP daemon to connect the profile"},
    {"disconnect", "NAME", 1, 1, disconnectProfile, "ask the SIP daemon to disconnect the profile"},
    {"check", "", 0, 0, checkFile, "print the faults of the settings file"},
    {"repair", "", 0, 0, repairFile, "repair it and keep a copy; not while a phone has the profiles open"},
}};
