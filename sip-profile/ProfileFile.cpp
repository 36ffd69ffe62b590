// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ProfileFile.h"

#include "ProfileKeys.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFailure.h"
#include "SettingsFile.h"

#include <QFile>
#include <QHash>

#include <algorithm>
#include <cerrno>
#include <map>
#include <vector>

namespace {

// The store looks at these many groups in a fraction of a second. A search that needs more counts as endless.
constexpr quint64 MOST_GROUPS_LOOKED_AT = 100000;

quint64 numberOf(const QString& group)
{
    return ::numberOf(group.toStdString());
}

// The result of the store's loading: for each number below the total it takes the first profile from there
// on.
struct Loading
{
    std::map<quint64, int> timesListed; // by the number of the profile
    bool ends = true;
    quint64 searchesFrom = 0; // where it does not end
};

Loading load(int total, const std::vector<quint64>& numbers)
{
    Loading loading;
    quint64 left = MOST_GROUPS_LOOKED_AT;
    for (quint64 found = 0; static_cast<qint64>(found) < total; ++found) {
        const auto next = std::lower_bound(numbers.begin(), numbers.end(), found);
        if (next == numbers.end() || *next - found >= left) {
            loading.ends = false;
            loading.searchesFrom = found;
            break;
        }
        left -= *next - found + 1;
        ++loading.timesListed[*next];
    }
    return loading;
}

ProfileFile::Profile profileOf(const ProfileKeys& keys, const QString& group)
{
    ProfileFile::Profile profile;
    profile.group = group;
    profile.name = keys.text(group, DISPLAY_NAME_KEY);
    profile.server = keys.text(group, SERVER_KEY);
    profile.port = keys.number(group, PORT_KEY).value_or(profile.port);
    profile.user = keys.text(group, USER_ID_KEY);
    profile.autoConnect = !keys.isOff(group, AUTO_CONNECT_KEY);
    return profile;
}

} // namespace

QString printable(const QString& text)
{
    QString result = text;
    for (QChar& c : result) {
        const QChar::Category category = c.category();
        if (category == QChar::Other_Control || category == QChar::Other_Format ||
            category == QChar::Separator_Line || category == QChar::Separator_Paragraph)
            c = QChar::ReplacementCharacter;
    }
    return result;
}

QString describe(const ProfileFile::Profile& profile)
{
    if (profile.name.isEmpty())
        return profile.group;
    return QStringLiteral("“%1” (%2)").arg(printable(profile.name), profile.group);
}

QString ProfileFile::path()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    return path;
}

ProfileFile::ProfileFile(const QString& path)
{
    if (const std::optional<std::string> bytes = readSettingsBytes(QFile::encodeName(path).toStdString())) {
        check(QByteArray::fromStdString(*bytes));
    } else if (errno != ENOENT) {
        find(Finding::CannotRead, QString(),
             tr("The settings file cannot be read (%1): no profile is listed.")
                 .arg(settingsReason(path, errno)));
    }
}

ProfileFile::ProfileFile(const QByteArray& bytes)
{
    check(bytes);
}

bool ProfileFile::has(Finding::Kind kind) const
{
    return std::any_of(findings_.begin(), findings_.end(),
                       [kind](const Finding& finding) { return finding.kind == kind; });
}

void ProfileFile::check(const QByteArray& bytes)
{
    const ProfileKeys keys(bytes);
    const QString defaultGroup = keys.defaultGroup();
    for (const QString& group : keys.profileGroups()) {
        Profile profile = profileOf(keys, group);
        profile.isDefault = group == defaultGroup;
        const QString former = keys.formerGroup(group);
        if (former.isEmpty()) {
            profiles_.append(profile);
            continue;
        }
        profile.group = former;
        find(Finding::Hidden, former,
             tr("%1 is not listed: there is another %2 below.").arg(describe(profile), former));
    }
    checkLoading(keys);
    checkNames();
    checkNumbers();
    checkCount(keys);
    checkDefaults(keys);
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding& a, const Finding& b) { return a.kind < b.kind; });
}

void ProfileFile::checkLoading(const ProfileKeys& keys)
{
    if (keys.rejectedLines() == 0) {
        checkListing(keys.totalProfile());
        return;
    }
    const int more = keys.rejectedLines() - 1;
    find(Finding::UnparsedLine, QString(),
         more == 0
             ? tr("Line %1 of the settings file cannot be read: the whole file counts as empty.")
                   .arg(keys.firstRejectedLine())
             : tr("Line %1 and %2 more of the settings file cannot be read: the whole file counts as empty.")
                   .arg(keys.firstRejectedLine())
                   .arg(more));
    checkListing(0);
}

void ProfileFile::checkListing(int total)
{
    std::vector<quint64> numbers;
    for (const Profile& profile : profiles_) {
        if (!profile.name.isEmpty())
            numbers.push_back(numberOf(profile.group));
    }
    const Loading loading = load(total, numbers);
    if (!loading.ends) {
        const QString group = profileGroup(loading.searchesFrom);
        find(Finding::Endless, group,
             tr("The list of profiles never opens: it searches from %1 on without end.").arg(group));
        return;
    }
    for (const Profile& profile : profiles_) {
        if (profile.name.isEmpty())
            continue;
        const auto listed = loading.timesListed.find(numberOf(profile.group));
        const int times = listed == loading.timesListed.end() ? 0 : listed->second;
        if (times == 0)
            find(Finding::Hidden, profile.group, tr("%1 is not listed.").arg(describe(profile)));
        else if (times > 1)
            find(Finding::Doubled, profile.group,
                 tr("%1 is listed %2 times.").arg(describe(profile), QString::number(times)));
    }
}

void ProfileFile::checkNames()
{
    QHash<QString, QString> groupOfName;
    for (const Profile& profile : profiles_) {
        if (profile.name.isEmpty()) {
            find(Finding::NoName, profile.group, tr("%1 has no name and is not listed.").arg(profile.group));
        } else if (groupOfName.contains(profile.name)) {
            find(Finding::SameName, profile.group,
                 tr("%1 has the name of %2 and cannot be reached.")
                     .arg(describe(profile), groupOfName[profile.name]));
        } else {
            groupOfName.insert(profile.name, profile.group);
        }
    }
}

void ProfileFile::checkNumbers()
{
    quint64 expected = 0;
    for (const Profile& profile : profiles_) {
        const QString missing = profileGroup(expected);
        if (profile.group != missing)
            find(Finding::Gap, missing, tr("There is %1, but no %2.").arg(profile.group, missing));
        expected = numberOf(profile.group) + 1;
    }
}

void ProfileFile::checkCount(const ProfileKeys& keys)
{
    if (keys.totalProfile() != profiles_.size())
        find(Finding::WrongCount, QString(),
             tr("The settings file counts %1 profiles and holds %2.")
                 .arg(keys.totalProfile())
                 .arg(profiles_.size()));
}

void ProfileFile::checkDefaults(const ProfileKeys& keys)
{
    QStringList marked;
    QString named = printable(keys.text(DEFAULT_GROUP, DEFAULT_KEY));
    for (const Profile& profile : profiles_) {
        if (keys.isOn(profile.group, DEFAULT_PROFILE_KEY))
            marked += describe(profile);
        if (profile.group == named)
            named = describe(profile);
    }
    if (marked.size() > 1)
        find(Finding::SeveralDefaults, QString(),
             tr("More than one profile is the default: %1.").arg(marked.join(QStringLiteral(", "))));
    else if (!keys.agreesOnDefault())
        find(Finding::WrongDefault, QString(),
             marked.isEmpty() ? tr("%1 is named as the default, but no profile is marked as it.").arg(named)
                              : tr("%1 is marked as the default, but the settings file does not name it.")
                                    .arg(marked.first()));
}

void ProfileFile::find(Finding::Kind kind, const QString& group, const QString& text)
{
    findings_.append({kind, group, text});
}
