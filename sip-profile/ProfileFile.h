#ifndef PROFILEFILE_H
#define PROFILEFILE_H

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>

class ProfileKeys;

// The settings file of the SIP profiles, read by itself: the store cannot tell what is wrong with it, and its
// loading does not end on a file that counts more profiles than it holds. Reading blocks for the file alone,
// whatever is in it.
class ProfileFile
{
    Q_DECLARE_TR_FUNCTIONS(ProfileFile)

public:
    struct Profile
    {
        QString group;
        QString name; // "" when it has none
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
            // What it leads to.
            CannotRead, // no profile is listed
            Endless,    // the store's loading never ends
            Hidden,     // the profile is not listed
            Doubled,    // the profile is listed more than once
            // What is wrong.
            UnparsedLine,    // the whole file counts as empty
            NoName,          // a group without a display name is no profile to the store
            SameName,        // the store finds only the first profile of a name
            Gap,             // a number without a profile, below one with
            WrongCount,      // the summary counts more profiles than there are, or fewer
            SeveralDefaults, // more than one profile is marked as the default
            WrongDefault,    // the profile that the file names as the default is not the one that is marked
        };
        Kind kind;
        QString group; // of the profile that it is about; of the missing one for a gap; "" for the whole file
        QString text;  // for the user, in a sentence; never a password
    };

    // The path of the store's file.
    static QString path();

    // Reads the file; a missing one holds no profiles and nothing wrong.
    explicit ProfileFile(const QString& path);
    // A file of these bytes.
    explicit ProfileFile(const QByteArray& bytes);

    // Each profile of the file once, by the numbers of their groups, those that the store does not list as
    // well; of several groups of one number the last.
    const QList<Profile>& profiles() const { return profiles_; }
    // In the order of Finding::Kind; empty when there is nothing wrong.
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

// The text with a sign in place of each character that would move a terminal's cursor or turn its text
// around.
QString printable(const QString& text);
// “B” (Profile1), or Profile1 when it has no name; printable.
QString describe(const ProfileFile::Profile& profile);

#endif
