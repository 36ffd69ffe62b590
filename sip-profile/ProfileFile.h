// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILEFILE_H
#define PROFILEFILE_H

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>

class ProfileKeys;

// The settings file of the SIP profiles and its faults. It is read without the store, which cannot tell
// faults and whose loading never ends on a file that counts more profiles than it holds. Reading blocks for
// the disk alone.
class ProfileFile
{
    Q_DECLARE_TR_FUNCTIONS(ProfileFile)

public:
    struct Profile
    {
        QString group;
        QString name; // "" when the profile has none
        QString server;
        unsigned int port = 5060;
        QString user;
        bool autoConnect = true;
        bool isDefault = false;

        bool operator==(const Profile&) const = default;
    };

    struct Finding
    {
        enum Kind {
            // The consequences.
            CannotRead, // no profile is listed
            Endless,    // the store's loading never ends
            Hidden,     // the profile is not listed
            Doubled,    // the profile is listed more than once
            // The faults.
            UnparsedLine,    // GLib rejects a line: the whole file counts as empty
            NoName,          // the store takes a group without a display name for no profile
            SameName,        // the store finds only the first profile of a name
            Gap,             // a number has no profile, but a higher one has
            WrongCount,      // the summary counts more profiles than there are, or fewer
            SeveralDefaults, // more than one profile is marked as the default
            WrongDefault,    // the profile that the file names as the default is not the marked one
        };
        Kind kind;
        QString group; // the profile's, for a gap the missing one's; "" for the whole file
        QString text;  // a sentence for the user, without passwords
    };

    // The path of the store's file.
    static QString path();

    // Reads the file; a missing one holds no profiles and nothing wrong.
    explicit ProfileFile(const QString& path);
    // A file of these bytes.
    explicit ProfileFile(const QByteArray& bytes);

    // Each profile once, by number, with those that the store does not list. Of several groups of one number
    // the last.
    const QList<Profile>& profiles() const { return profiles_; }
    // In the order of Finding::Kind; empty when nothing is wrong.
    const QList<Finding>& findings() const { return findings_; }
    bool has(Finding::Kind kind) const;

private:
    void check(const QByteArray& bytes);
    void checkLoading(const ProfileKeys& keys);
    void checkListing(int total);
    void checkNames();
    void checkNumbers();
    void checkCount(const ProfileKeys& keys);
    void checkDefaults(const ProfileKeys& keys);
    void find(Finding::Kind kind, const QString& group, const QString& text);

    QList<Profile> profiles_;
    QList<Finding> findings_;
};

// The text with a replacement for each character that controls a terminal or the direction of the text.
QString printable(const QString& text);
// “B” (Profile1), or Profile1 for a profile without a name; printable.
QString describe(const ProfileFile::Profile& profile);

#endif
