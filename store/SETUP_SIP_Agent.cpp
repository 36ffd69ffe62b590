// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_Agent.h"

#include "ORMU_Diagnostics.h"
#include "OrmuConfig.h"
#include "ProfileSchema.h"
#include "SETUP_SET_Manager.h"
#include "SIP_COMM_Controler.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <variant>

namespace {

using Field = std::variant<QString SIP_PROFILE_CONTENT::*, unsigned int SIP_PROFILE_CONTENT::*,
                           bool SIP_PROFILE_CONTENT::*>;

// The field of each of PROFILE_KEYS.
constexpr Field FIELDS[] = {
    &SIP_PROFILE_CONTENT::displayName,    &SIP_PROFILE_CONTENT::server,
    &SIP_PROFILE_CONTENT::portNum,        &SIP_PROFILE_CONTENT::userID,
    &SIP_PROFILE_CONTENT::password,       &SIP_PROFILE_CONTENT::autoConnect,
    &SIP_PROFILE_CONTENT::registerValue,  &SIP_PROFILE_CONTENT::network,
    &SIP_PROFILE_CONTENT::locked,         &SIP_PROFILE_CONTENT::defaultProfile,
    &SIP_PROFILE_CONTENT::needUserIDPass, &SIP_PROFILE_CONTENT::remPassword,
};
static_assert(std::size(FIELDS) == PROFILE_KEYS.size());

const QString& nameOf(size_t index)
{
    static const auto names = [] {
        std::array<QString, PROFILE_KEYS.size()> result;
        std::transform(PROFILE_KEYS.begin(), PROFILE_KEYS.end(), result.begin(),
                       [](const ProfileKey& key) { return QString::fromLatin1(key.name); });
        return result;
    }();
    return names[index];
}

// Calls visit(name, key, field) for each key of a profile, in the order of the file.
template <class Record, class Visit>
void forEachField(Record& record, Visit visit)
{
    for (size_t i = 0; i < PROFILE_KEYS.size(); ++i)
        std::visit([&](auto field) { visit(nameOf(i), PROFILE_KEYS[i], record.*field); }, FIELDS[i]);
}

template <class Value>
constexpr bool isText = std::is_same_v<std::remove_cvref_t<Value>, QString>;

template <class Value>
Value standardOf(const ProfileKey& key)
{
    if constexpr (isText<Value>)
        return QString::fromLatin1(std::get<const char*>(key.standard));
    else
        return std::get<Value>(key.standard);
}

SIP_PROFILE_CONTENT newProfile()
{
    SIP_PROFILE_CONTENT profile;
    forEachField(profile, [](const QString&, const ProfileKey& key, auto& value) {
        value = standardOf<std::remove_reference_t<decltype(value)>>(key);
    });
    return profile;
}

void readProfile(const SETUP_SET_Manager& manager, const QString& group, SIP_PROFILE_CONTENT& record)
{
    forEachField(record, [&](const QString& name, const ProfileKey& key, auto& value) {
        const auto standard = standardOf<std::remove_reference_t<decltype(value)>>(key);
        if constexpr (isText<decltype(value)>)
            manager.getSettingInfo(group, name, value, standard, false);
        else
            manager.getSettingInfo(group, name, value, standard);
    });
}

void writeProfile(SETUP_SET_Manager& manager, const QString& group, const SIP_PROFILE_CONTENT& record)
{
    forEachField(record, [&](const QString& name, const ProfileKey&, const auto& value) {
        if constexpr (isText<decltype(value)>)
            manager.setSettingInfo(group, name, value, false);
        else
            manager.setSettingInfo(group, name, value);
    });
}

QString groupName(quint64 number)
{
    return QString::fromStdString(groupOf(number));
}

QString readText(const SETUP_SET_Manager& manager, const QString& group, const char* key)
{
    QString text;
    manager.getSettingInfo(group, key, text, QString(), false);
    return text;
}

QString setupPath()
{
    QString path;
    SETUP_SIP_Agent::getSIPSetupPath(path);
    return path;
}

} // namespace

SETUP_SIP_Agent* SETUP_SIP_Agent::m_pAgent = nullptr;

SETUP_SIP_Agent* SETUP_SIP_Agent::instance()
{
    if (m_pAgent == nullptr)
        m_pAgent = new SETUP_SIP_Agent;
    return m_pAgent;
}

void SETUP_SIP_Agent::cleanup()
{
    delete m_pAgent;
    m_pAgent = nullptr;
}

SETUP_SIP_Agent::SETUP_SIP_Agent()
{
    getSIPSetupPath(settingsPath);
    getSIPProfileList();
    profiles.setAutoDelete(true);
}

int SETUP_SIP_Agent::getSIPProfileList()
{
    SETUP_SET_Manager manager(settingsPath, false);
    manager.getSettingInfo(SUMMARY_GROUP, TOTAL_KEY, totalProfile, 0);
    for (int found = 0; found < totalProfile; ++found) {
        // From the number found, not from behind the last group found: with a gap in the numbers this finds
        // a group twice.
        quint64 n = static_cast<quint64>(found);
        QString group = groupName(n);
        while (readText(manager, group, DISPLAY_NAME_KEY).isEmpty())
            group = groupName(++n);
        auto record = std::make_unique<SIP_PROFILE_CONTENT>();
        getProfileInfoFromFile(&manager, *record, group);
        displayNames.append(record->displayName);
        groupNames.append(group);
        profiles.append(record.release());
    }
    return totalProfile;
}

// -1 when there is no such profile. Deleting a profile that was found twice removes more entries from one
// list than from another; a name without entries in the other lists counts as no profile.
int SETUP_SIP_Agent::indexOf(const QString& name) const
{
    const int index = displayNames.findIndex(name);
    return index < std::min(groupNames.count(), profiles.count()) ? index : -1;
}

void SETUP_SIP_Agent::getProfileInfo(SIP_PROFILE_CONTENT& record, QString name)
{
    const int index = indexOf(name);
    if (index >= 0)
        record = *profiles.at(index);
}

void SETUP_SIP_Agent::setProfileInfo(SIP_PROFILE_CONTENT& record, QString name)
{
    SETUP_SET_Manager manager(settingsPath, false);
    const int index = indexOf(name);
    if (index >= 0) {
        *profiles.at(index) = record;
        writeProfile(manager, groupNames[index], record);
        return;
    }
    const QString group = firstFreeGroup();
    profiles.append(new SIP_PROFILE_CONTENT(record));
    groupNames.append(group);
    displayNames.append(name);
    ++totalProfile;
    manager.setSettingInfo(SUMMARY_GROUP, TOTAL_KEY, totalProfile);
    writeProfile(manager, group, record);
}

QString SETUP_SIP_Agent::firstFreeGroup() const
{
    const auto isTaken = [this](const std::string& group) {
        return groupNames.contains(QString::fromStdString(group)) != 0;
    };
    return QString::fromStdString(::firstFreeGroup(isTaken));
}

void SETUP_SIP_Agent::deleteProfile(const QString& name)
{
    const int index = indexOf(name);
    if (index < 0)
        return;
    const bool wasDefault = profiles.at(index)->defaultProfile;
    const QString group = groupNames[index];
    groupNames.remove(group);
    displayNames.remove(name); // From here on name may refer to a removed entry.
    profiles.remove(index);
    --totalProfile;

    SETUP_SET_Manager manager(settingsPath, false);
    manager.clearGroup(group);
    manager.setSettingInfo(SUMMARY_GROUP, TOTAL_KEY, totalProfile);
    if (wasDefault) {
        // The text of a boolean is no group name: there is no default any more.
        manager.setSettingInfo(DEFAULT_GROUP, DEFAULT_KEY, true);
    }
}

void SETUP_SIP_Agent::setDefaultProfile(const QString& name)
{
    const int index = indexOf(name);
    if (index < 0)
        return;
    const int former = indexOfDefault();
    if (former == index)
        return;

    // One manager for both profiles: the file is never without a default.
    SETUP_SET_Manager manager(settingsPath, false);
    if (former >= 0) {
        manager.setSettingInfo(groupNames[former], DEFAULT_PROFILE_KEY, false);
        profiles.at(former)->defaultProfile = false;
    }
    manager.setSettingInfo(groupNames[index], DEFAULT_PROFILE_KEY, true);
    manager.setSettingInfo(DEFAULT_GROUP, DEFAULT_KEY, groupNames[index], false);
    profiles.at(index)->defaultProfile = true;
}

// The first profile that is flagged as the default, or -1.
int SETUP_SIP_Agent::indexOfDefault()
{
    for (int i = 0; i < displayNames.count(); ++i) {
        if (isProfileDefault(displayNames[i]))
            return i;
    }
    return -1;
}

void SETUP_SIP_Agent::clearDefaultProfileFlag(const QString& name)
{
    SETUP_SET_Manager manager(settingsPath, false);
    const int index = indexOf(name);
    if (index >= 0)
        manager.setSettingInfo(groupNames[index], DEFAULT_PROFILE_KEY, false);
}

bool SETUP_SIP_Agent::isProfileExisted(const QString& name)
{
    return displayNames.contains(name) != 0;
}

bool SETUP_SIP_Agent::isProfileLocked(const QString& name)
{
    const int index = indexOf(name);
    return index < 0 || profiles.at(index)->locked;
}

bool SETUP_SIP_Agent::isProfileDefault(const QString& name)
{
    const int index = indexOf(name);
    return index >= 0 && profiles.at(index)->defaultProfile;
}

bool SETUP_SIP_Agent::isProfileNeedUserAndPass(const QString& name)
{
    const int index = indexOf(name);
    return index < 0 || profiles.at(index)->needUserIDPass;
}

bool SETUP_SIP_Agent::getProfileGroupName(const QString& name, QString& group)
{
    const int index = indexOf(name);
    if (index < 0)
        return false;
    group = groupNames[index];
    return true;
}

void SETUP_SIP_Agent::setDefaultProfileInfo(SIP_PROFILE_CONTENT& record)
{
    record = newProfile();
}

void SETUP_SIP_Agent::getSIPSetupPath(QString& path)
{
    path = QString::fromStdString(settingsFileIn(OrmuConfig::getSettingDirectory().toStdString()));
}

void SETUP_SIP_Agent::getProfileInfoFromFile(SETUP_SET_Manager* manager, SIP_PROFILE_CONTENT& record,
                                             QString group)
{
    ORMU_ASSERT(manager != nullptr);
    readProfile(*manager, group, record);
}

bool SETUP_SIP_Agent::getProfileByName(QString& group, SIP_PROFILE_CONTENT& record)
{
    SETUP_SET_Manager manager(setupPath(), false);
    getProfileInfoFromFile(&manager, record, group);
    return !record.displayName.isEmpty();
}

QString SETUP_SIP_Agent::getProfileDisplayName(QString& group)
{
    return readText(SETUP_SET_Manager(setupPath(), false), group, DISPLAY_NAME_KEY);
}

QString SETUP_SIP_Agent::getDefaultProfile()
{
    return readText(SETUP_SET_Manager(setupPath(), false), DEFAULT_GROUP, DEFAULT_KEY);
}

bool SETUP_SIP_Agent::getLastInputUserIDPassword(QString& userID, QString& password, bool& remember)
{
    const SETUP_SET_Manager manager(setupPath(), false);
    manager.getSettingInfo(INPUT_GROUP, USER_ID_KEY, userID, QString(), false);
    manager.getSettingInfo(INPUT_GROUP, PASSWORD_KEY, password, QString(), false);
    manager.getSettingInfo(INPUT_GROUP, REMEMBER_KEY, remember, false);
    return true;
}

bool SETUP_SIP_Agent::saveLastInputUserIDPassword(const QString& userID, const QString& password,
                                                  bool remember)
{
    SETUP_SET_Manager manager(setupPath(), false);
    manager.setSettingInfo(INPUT_GROUP, USER_ID_KEY, userID, false);
    manager.setSettingInfo(INPUT_GROUP, PASSWORD_KEY, password, false);
    manager.setSettingInfo(INPUT_GROUP, REMEMBER_KEY, remember);
    return true;
}

bool SETUP_SIP_Agent::isConnected(QString& group)
{
    _SIP_COMM_PROFILE_CONTROL_S* control = nullptr;
    bool connected = false;
    if (SIP_COMM_ControlerConstruct(&control) == 0) {
        _SIPD_PROFILE_STATUS_E status = {};
        connected = SIP_COMM_ControlerGetProfileStatus(control, group.toLatin1().constData(), &status) == 0 &&
                    status == SIPD_PROFILE_CONNECTED;
    }
    if (control != nullptr)
        SIP_COMM_ControlerDestruct(&control);
    return connected;
}

bool SETUP_SIP_Agent::isProfileConnected(const QString& name)
{
    QString group;
    return getProfileGroupName(name, group) && isConnected(group);
}
