#ifndef PROFILEKEYS_H
#define PROFILEKEYS_H

#include "SettingsFile.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <optional>

// The keys of the settings file of the SIP profiles, as the store finds them; for the check and the repair
// alone. Where the store cannot parse the file, and so takes it for empty, the lines that stand in the way
// are made comments first, and counted.
class ProfileKeys
{
public:
    explicit ProfileKeys(const QByteArray& bytes);

    int unparsedLines() const { return unparsedLines_; }
    int firstUnparsedLine() const { return firstUnparsedLine_; } // counted from 1; 0 when there is none
    // False when the file cannot be parsed even so; it then holds no keys.
    bool isParsed() const { return isParsed_; }

    // The groups that hold a profile, by their numbers. One without a name, which is no profile to the store,
    // counts when anything but switches stands in it.
    QList<QString> profileGroups() const;
    // The name in the file of a group that has one of its own here; "" for the others.
    QString sharedGroup(const QString& group) const { return sharedGroups_.value(group); }
    // The groups of such a name that hold switches at most.
    QSet<QString> remnantGroups() const;
    // The group of the default profile: the one that is marked as it. A mark that is missing counts as set
    // when the file names the group. Of several it is the one that the file names, or else the first; "" when
    // there is none.
    QString defaultGroup() const;
    // Both ways that the file tells the default agree: the mark, and the group that it names.
    bool agreesOnDefault() const;

    using Contents = QMap<QByteArray, QByteArray>;
    // The keys of the group and their values as they stand, but for those that tell the default and the
    // count.
    Contents contents(const QString& group) const;
    // The same of each group that is no profile's and holds any such key.
    QMap<QString, Contents> otherContents() const;

    // "" when it is missing or cannot be decoded.
    QString text(const QString& group, const char* key) const;
    // The same, but a text that is not UTF-8 is read as Latin-1.
    QString readableText(const QString& group, const char* key) const;
    bool isOn(const QString& group, const char* key) const;
    bool isOff(const QString& group, const char* key) const; // neither, when it is missing or is no boolean
    // Nothing when it is missing or is no number.
    std::optional<unsigned int> number(const QString& group, const char* key) const;
    int totalProfile() const;

    void setText(const QString& group, const char* key, const QString& text);
    void setValue(const QString& group, const char* key, const QByteArray& value);
    QByteArray toBytes() const;

private:
    QByteArray value(const QString& group, const char* key) const;
    bool isMarkedDefault(const QString& group) const;
    QList<QString> numberedGroups() const;
    bool isRemnant(const QString& group) const;

    QByteArray separateGroups(const QByteArray& bytes);

    KeyFile keys_;
    QHash<QString, QString> sharedGroups_;
    int unparsedLines_ = 0;
    int firstUnparsedLine_ = 0;
    bool isParsed_ = true;
};

inline constexpr char SUMMARY_GROUP[] = "ProfileSummary";
inline constexpr char TOTAL_KEY[] = "TotalProfile";
inline constexpr char DEFAULT_GROUP[] = "SystemDefault";
inline constexpr char DEFAULT_KEY[] = "Profile";
inline constexpr char DISPLAY_NAME_KEY[] = "DisplayName";
inline constexpr char DEFAULT_PROFILE_KEY[] = "DefaultProfile";
inline constexpr char SERVER_KEY[] = "Server";
inline constexpr char PORT_KEY[] = "PortNum";
inline constexpr char USER_KEY[] = "UserID";
inline constexpr char AUTO_CONNECT_KEY[] = "AutoConnect";

#endif
