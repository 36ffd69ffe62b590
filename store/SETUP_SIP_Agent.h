// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_AGENT_H
#define SETUP_SIP_AGENT_H

/// @file
/// The store of the SIP profiles.

#include "ORMU_Export.h"
#include "SIP_PROFILE_CONTENT.h"

#include "qptrlist.h"
#include "qvaluelist.h"
#include <QString>

class SETUP_SET_Manager;

/// The store of the SIP profiles: lists, reads, adds, changes and deletes them, and sets the system default.
///
/// The first instance() makes the one store and loads every profile from the settings file. The store answers
/// from memory and writes each change to the file before the call returns. The static operations other than
/// instance() and cleanup() use only the file; they neither need nor make the store.
///
/// Display names identify profiles and are compared exactly; of several equal names the first counts. The
/// group name ("Profile" and a number) is the name of the profile's group in the settings file; the SIP
/// daemon knows a profile only by it.
///
/// No operation reports an error: a key missing from the file reads as its default, and each operation says
/// its answer for an unknown name. For the GUI thread alone. An operation that changes something, and each
/// static one, blocks for the file; the others answer from memory at once. Texts and records are the
/// caller's, and are copied.
class ORMU_SIPSETUP_EXPORT SETUP_SIP_Agent
{
public:
    /// The most profiles that the user may create. Enforced by the list screen, not by the store.
    static constexpr int MAX_SIP_PROFILE = 10;

    SETUP_SIP_Agent(const SETUP_SIP_Agent&) = delete;
    SETUP_SIP_Agent& operator=(const SETUP_SIP_Agent&) = delete;

    /// Returns the store, which owns itself: do not delete it. The first call blocks for the file. Warning:
    /// loads forever if TotalProfile in the file is greater than the number of profile groups.
    static SETUP_SIP_Agent* instance();
    /// Deletes the store, if any. Pointers to it and references to its displayNames are invalid then. The
    /// next instance() loads the file again.
    static void cleanup();

    /// The number of profiles: the TotalProfile of the file, as loaded and then changed by this store.
    int profileCount() const { return totalProfile; }

    /// Loads the profiles into the empty lists and returns their count. For the constructor only.
    int getSIPProfileList();

    /// Copies the profile to record; does nothing when there is no such profile.
    void getProfileInfo(SIP_PROFILE_CONTENT& record, QString name);
    /// Changes the profile, or adds it at the end when there is none of that name. A changed profile keeps
    /// its name in this store even when record.displayName differs; the file, and so the next store, has the
    /// name of the record. record.defaultProfile is stored as it is, but does not set the system default.
    void setProfileInfo(SIP_PROFILE_CONTENT& record, QString name);
    /// Deletes the profile from memory and file. Does nothing when there is none. After the default is
    /// deleted, no profile is the default.
    void deleteProfile(const QString& name);

    /// Makes the profile the only default. Does nothing when there is no such profile; writes nothing when it
    /// is the default already.
    void setDefaultProfile(const QString& name);
    /// Clears the flag in the file; the record in memory keeps it. Does nothing when there is no such
    /// profile.
    void clearDefaultProfileFlag(const QString& name);

    /// Whether there is a profile of that name.
    bool isProfileExisted(const QString& name);
    /// Whether the user may not change the profile; true when there is none, so that nobody changes it.
    bool isProfileLocked(const QString& name);
    /// Whether the profile is the default; false when there is no such profile.
    bool isProfileDefault(const QString& name);
    /// Whether the phone asks for user name and password; true when there is no such profile.
    bool isProfileNeedUserAndPass(const QString& name);
    /// Sets group to the profile's group name and returns true; does nothing and returns false when there is
    /// no such profile.
    bool getProfileGroupName(const QString& name, QString& group);

    /// Fills record with the values of a new profile.
    void setDefaultProfileInfo(SIP_PROFILE_CONTENT& record);

    /// Sets path to the path of the settings file.
    static void getSIPSetupPath(QString& path);
    /// Reads every field of record from the group. Aborts the process when manager is null.
    static void getProfileInfoFromFile(SETUP_SET_Manager* manager, SIP_PROFILE_CONTENT& record,
                                       QString group);
    /// Reads every field of record from the group; false when the file has no such profile.
    static bool getProfileByName(QString& group, SIP_PROFILE_CONTENT& record);
    /// The display name of the group's profile; "" when the file has no such profile.
    static QString getProfileDisplayName(QString& group);
    /// The group name of the default profile. Without a default, "" or a text that is no group name.
    static QString getDefaultProfile();

    /// Reads the last input at the credentials prompt; empty texts and false at first. Always true.
    static bool getLastInputUserIDPassword(QString& userID, QString& password, bool& remember);
    /// Saves both texts, even when remember is false. Always true.
    static bool saveLastInputUserIDPassword(const QString& userID, const QString& password, bool remember);

    /// Whether the profile of this group is connected according to the SIP daemon; false without a daemon or
    /// an answer. Asks on every call, and blocks without a time limit until the daemon answers.
    static bool isConnected(QString& group);
    /// The same for the profile of this name; false without asking when there is none.
    bool isProfileConnected(const QString& name);

private:
    ORMU_SIPSETUP_INTERNAL SETUP_SIP_Agent();
    ORMU_SIPSETUP_INTERNAL ~SETUP_SIP_Agent() = default;

    ORMU_SIPSETUP_INTERNAL int indexOf(const QString& name) const;
    ORMU_SIPSETUP_INTERNAL int indexOfDefault();
    ORMU_SIPSETUP_INTERNAL QString firstFreeGroup() const;

    ORMU_SIPSETUP_INTERNAL static SETUP_SIP_Agent* m_pAgent; ///< Null when there is no store.

    QString settingsPath;

    /// Entry i of profiles, groupNames and displayNames belongs to one profile, until a profile is deleted
    /// that loading found twice: see indexOf().
    QPtrList<SIP_PROFILE_CONTENT> profiles;
    QValueList<QString> groupNames;

public:
    /// The profiles in their order, for reading. Part of the store: invalid after cleanup().
    QValueList<QString> displayNames;

private:
    int totalProfile = 0;
};

#endif
