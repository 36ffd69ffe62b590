#include "SETUP_SIP_Agent.h"

#include "ORMU_Diagnostics.h"
#include "OrmuConfig.h"
#include "SETUP_SET_Manager.h"
#include "SIP_COMM_Controler.h"

#include <algorithm>
#include <memory>

namespace {

const QString SUMMARY_GROUP = QStringLiteral("ProfileSummary");
const QString TOTAL_KEY = QStringLiteral("TotalProfile");
const QString DEFAULT_GROUP = QStringLiteral("SystemDefault");
const QString DEFAULT_KEY = QStringLiteral("Profile");
const QString INPUT_GROUP = QStringLiteral("InputSettings");

const QString DISPLAY_NAME_KEY = QStringLiteral("DisplayName");
const QString SERVER_KEY = QStringLiteral("Server");
const QString PORT_KEY = QStringLiteral("PortNum");
const QString USER_ID_KEY = QStringLiteral("UserID");
const QString PASSWORD_KEY = QStringLiteral("Password");
const QString AUTO_CONNECT_KEY = QStringLiteral("AutoConnect");
const QString REGISTER_KEY = QStringLiteral("Register");
const QString NETWORK_KEY = QStringLiteral("Network");
const QString LOCKED_KEY = QStringLiteral("Locked");
const QString DEFAULT_PROFILE_KEY = QStringLiteral("DefaultProfile");
const QString NEED_USER_ID_KEY = QStringLiteral("NeedUserIDPass");
const QString REMEMBER_KEY = QStringLiteral("RemPassword");

// No count of profiles can make the number overflow.
QString groupOf(quint64 number)
{
    return QStringLiteral("Profile") + QString::number(number);
}

QString readText(const SETUP_SET_Manager& manager, const QString& group, const QString& key)
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

// What a new profile holds, and what a key missing from the settings file stands for.
SIP_PROFILE_CONTENT newProfile()
{
    SIP_PROFILE_CONTENT profile;
    profile.network = QStringLiteral("internet");
    return profile;
}

void writeProfile(SETUP_SET_Manager& manager, const QString& group, const SIP_PROFILE_CONTENT& record)
{
    manager.setSettingInfo(group, DISPLAY_NAME_KEY, record.displayName, false);
    manager.setSettingInfo(group, SERVER_KEY, record.server, false);
    manager.setSettingInfo(group, PORT_KEY, record.portNum);
    manager.setSettingInfo(group, USER_ID_KEY, record.userID, false);
    manager.setSettingInfo(group, PASSWORD_KEY, record.password, false);
    manager.setSettingInfo(group, AUTO_CONNECT_KEY, record.autoConnect);
    manager.setSettingInfo(group, REGISTER_KEY, record.registerValue, false);
    manager.setSettingInfo(group, NETWORK_KEY, record.network, false);
    manager.setSettingInfo(group, LOCKED_KEY, record.locked);
    manager.setSettingInfo(group, DEFAULT_PROFILE_KEY, record.defaultProfile);
    manager.setSettingInfo(group, NEED_USER_ID_KEY, record.needUserIDPass);
    manager.setSettingInfo(group, REMEMBER_KEY, record.remPassword);
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
        QString group = groupOf(n);
        while (readText(manager, group, DISPLAY_NAME_KEY).isEmpty())
            group = groupOf(++n);
        auto record = std::make_unique<SIP_PROFILE_CONTENT>();
        getProfileInfoFromFile(&manager, *record, group);
        displayNames.append(record->displayName);
        groupNames.append(group);
        profiles.append(record.release());
    }
    return totalProfile;
}

// -1 when there is no such profile. Where a group was found twice, deleting it takes more entries out of one
// list than out of another; a name that is left without its other entries counts as none.
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
    quint64 number = 0;
    while (groupNames.contains(groupOf(number)) != 0)
        ++number;
    return groupOf(number);
}

void SETUP_SIP_Agent::deleteProfile(const QString& name)
{
    const int index = indexOf(name);
    if (index < 0)
        return;
    const bool wasDefault = profiles.at(index)->defaultProfile;
    const QString group = groupNames[index];
    groupNames.remove(group);
    displayNames.remove(name); // name itself may be an entry that is gone now.
    profiles.remove(index);
    --totalProfile;

    SETUP_SET_Manager manager(settingsPath, false);
    manager.clearGroup(group);
    manager.setSettingInfo(SUMMARY_GROUP, TOTAL_KEY, totalProfile);
    if (wasDefault) {
        // The text of a boolean is no group's name: there is no default any more.
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

    // One manager for both profiles: no one finds the file without a default.
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
    path = OrmuConfig::getSettingDirectory();
    if (!path.endsWith(u'/'))
        path += u'/';
    path += QLatin1String("ormu_sipsetup.cfg");
}

void SETUP_SIP_Agent::getProfileInfoFromFile(SETUP_SET_Manager* manager, SIP_PROFILE_CONTENT& record,
                                             QString group)
{
    ORMU_ASSERT(manager != nullptr);
    const SIP_PROFILE_CONTENT fresh = newProfile();
    manager->getSettingInfo(group, DISPLAY_NAME_KEY, record.displayName, fresh.displayName, false);
    manager->getSettingInfo(group, SERVER_KEY, record.server, fresh.server, false);
    manager->getSettingInfo(group, PORT_KEY, record.portNum, fresh.portNum);
    manager->getSettingInfo(group, USER_ID_KEY, record.userID, fresh.userID, false);
    manager->getSettingInfo(group, PASSWORD_KEY, record.password, fresh.password, false);
    manager->getSettingInfo(group, AUTO_CONNECT_KEY, record.autoConnect, fresh.autoConnect);
    manager->getSettingInfo(group, REGISTER_KEY, record.registerValue, fresh.registerValue, false);
    manager->getSettingInfo(group, NETWORK_KEY, record.network, fresh.network, false);
    manager->getSettingInfo(group, LOCKED_KEY, record.locked, fresh.locked);
    manager->getSettingInfo(group, DEFAULT_PROFILE_KEY, record.defaultProfile, fresh.defaultProfile);
    manager->getSettingInfo(group, NEED_USER_ID_KEY, record.needUserIDPass, fresh.needUserIDPass);
    manager->getSettingInfo(group, REMEMBER_KEY, record.remPassword, fresh.remPassword);
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
