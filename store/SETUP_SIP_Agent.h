#ifndef SETUP_SIP_AGENT_H
#define SETUP_SIP_AGENT_H

#include "ORMU_Export.h"
#include "SIP_PROFILE_CONTENT.h"

#include "qptrlist.h"
#include "qvaluelist.h"
#include <QString>

class SETUP_SET_Manager;

// The SIP profiles: lists, reads, adds, changes and deletes them, and chooses the system default.
//
// The one store is made by the first instance(), which loads every profile from the settings file. It answers
// from memory and writes each change to the file inside the call that makes it. The static operations other
// than instance() and cleanup() work on the file alone and neither need nor make the store.
//
// Profiles go by their display names, compared exactly; of several alike the first counts. The group name
// ("Profile" and a number) is that of the profile's group in the settings file, and the only name that the
// SIP daemon knows.
//
// No operation reports an error: what is missing from the file reads as its default, and a name that no
// profile has gets the answer said below. For the GUI thread only; every read or write blocks for the file.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_Agent
{
public:
    // The most profiles that the user may create. It is the list screen that holds to it, not the store.
    static constexpr int MAX_SIP_PROFILE = 10;

    SETUP_SIP_Agent(const SETUP_SIP_Agent&) = delete;
    SETUP_SIP_Agent& operator=(const SETUP_SIP_Agent&) = delete;

    // The store, which stays its own owner. Loading never ends when the file counts more profiles than it
    // holds.
    static SETUP_SIP_Agent* instance();
    // Deletes the store, if any; the next instance() loads the file anew.
    static void cleanup();

    // The number of profiles that the file's summary tells, as last loaded or changed by this store.
    int profileCount() const { return totalProfile; }

    // Loads the profiles into the empty lists and returns their count. For the constructor only.
    int getSIPProfileList();

    // Leaves record untouched when there is no such profile.
    void getProfileInfo(SIP_PROFILE_CONTENT& record, QString name);
    // Changes the profile, or adds it as the last when there is none of that name. A changed profile keeps
    // its name in this store even when record.displayName is another; the file, and so the next store, has
    // the record's. The system default is not chosen by record.defaultProfile, which is stored as it stands.
    void setProfileInfo(SIP_PROFILE_CONTENT& record, QString name);
    // Nothing happens when there is no such profile. Without the default profile, no profile is the default.
    void deleteProfile(const QString& name);

    // Nothing happens when there is no such profile, and nothing is written when it is the default already.
    void setDefaultProfile(const QString& name);
    // In the file only; the record in memory keeps its flag. Nothing happens when there is no such profile.
    void clearDefaultProfileFlag(const QString& name);

    bool isProfileExisted(const QString& name);
    // True when there is no such profile: what is unknown is not to be touched.
    bool isProfileLocked(const QString& name);
    // False when there is no such profile.
    bool isProfileDefault(const QString& name);
    // True when there is no such profile.
    bool isProfileNeedUserAndPass(const QString& name);
    // Sets group and returns true; returns false and leaves group untouched when there is no such profile.
    bool getProfileGroupName(const QString& name, QString& group);

    // Fills record with the values of a new profile.
    void setDefaultProfileInfo(SIP_PROFILE_CONTENT& record);

    // Sets path to that of the settings file.
    static void getSIPSetupPath(QString& path);
    // Reads the group into record, every field of it. Aborts the process when manager is null.
    static void getProfileInfoFromFile(SETUP_SET_Manager* manager, SIP_PROFILE_CONTENT& record,
                                       QString group);
    // Reads the group into record; false when the file has no such profile. record is overwritten either way.
    static bool getProfileByName(QString& group, SIP_PROFILE_CONTENT& record);
    // "" when the file has no such profile.
    static QString getProfileDisplayName(QString& group);
    // The group name of the default profile. Without one, "" or a text that is no group's name.
    static QString getDefaultProfile();

    // What was last typed at the credentials prompt; empty texts and false at first. Always true.
    static bool getLastInputUserIDPassword(QString& userID, QString& password, bool& remember);
    // Keeps both texts whatever remember says. Always true.
    static bool saveLastInputUserIDPassword(const QString& userID, const QString& password, bool remember);

    // Whether the SIP daemon says that the profile of this group is connected; false when there is no daemon
    // or no answer. Asks anew on every call, and blocks until the daemon answers, without a time limit.
    static bool isConnected(QString& group);
    // The same for the profile of this name; false, without asking, when there is none.
    bool isProfileConnected(const QString& name);

private:
    ORMU_SIPSETUP_INTERNAL SETUP_SIP_Agent();
    ORMU_SIPSETUP_INTERNAL ~SETUP_SIP_Agent() = default;

    ORMU_SIPSETUP_INTERNAL int indexOf(const QString& name) const;
    ORMU_SIPSETUP_INTERNAL int indexOfDefault();
    ORMU_SIPSETUP_INTERNAL QString firstFreeGroup() const;

    ORMU_SIPSETUP_INTERNAL static SETUP_SIP_Agent* m_pAgent; // Null when there is no store.

    // Entry i of each of the three lists belongs to one profile.
    QString settingsPath;
    QPtrList<SIP_PROFILE_CONTENT> profiles;
    QValueList<QString> groupNames;

public:
    // For reading, in the order of the profiles.
    QValueList<QString> displayNames;

private:
    int totalProfile = 0;
};

#endif
