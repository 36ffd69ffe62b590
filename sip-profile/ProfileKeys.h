// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PROFILEKEYS_H
#define PROFILEKEYS_H

#include "ProfileSchema.h"
#include "SettingsKeys.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// The groups and keys of the profiles' settings file, for its check and its repair. GLib reads the keys, as
// it does for the store. Two things are settled before, so that no profile is lost:
//
// - The store takes a file for empty when GLib rejects one line of it. Such a line becomes the header that it
//   was meant to be, if it names a known group ("[Profile1"), or else a comment.
// - GLib takes groups of one name for one group. If several groups of one number have a display name, each is
//   a profile: the last one keeps the number, the others get free numbers.
class ProfileKeys
{
public:
    explicit ProfileKeys(const QByteArray& bytes);

    // The number of lines that GLib rejects, and the first of them, counted from 1; 0 when there is none.
    int rejectedLines() const { return rejectedLines_; }
    int firstRejectedLine() const { return firstRejectedLine_; }
    // False when GLib takes the file not even so; it then holds no keys.
    bool isParsed() const { return isParsed_; }

    // The groups that hold a profile, by their numbers. One without a name is no profile to the store; it
    // counts here unless it holds nothing but switches.
    QList<QString> profileGroups() const;
    // The header in the file of a group that got a free number here; "" for the others.
    QString formerGroup(const QString& group) const { return formerGroups_.value(group); }
    // The group of the default profile: the one that is marked as it. A missing mark counts as set when the
    // file names the group. Of several it is the one that the file names, or else the first; "" when there is
    // none.
    QString defaultGroup() const;
    // The mark and the name of the default mean the same profile, or none.
    bool agreesOnDefault() const;

    using Contents = QMap<QByteArray, QByteArray>;
    // The keys and values that a repair must not change, of each group that holds any: the profiles by their
    // numbers, then the other groups.
    QList<Contents> contents() const;

    // "" when it is missing or cannot be decoded.
    QString text(const QString& group, const char* key) const;
    // The same, but a text that is not UTF-8 is read as Latin-1.
    QString readableText(const QString& group, const char* key) const;
    // Both are false when the key is missing or no boolean.
    bool isOn(const QString& group, const char* key) const;
    bool isOff(const QString& group, const char* key) const;
    // Nothing when it is missing or no number.
    std::optional<unsigned int> number(const QString& group, const char* key) const;
    int totalProfile() const;

    void setText(const QString& group, const char* key, const QString& text);
    void setValue(const QString& group, const char* key, const QByteArray& value);
    QByteArray toBytes() const;
    // The file as it was read, with the profiles numbered from Profile0 in the order of profileGroups().
    // Groups of profiles that hold nothing but switches are left out; their comments stay.
    QByteArray numberedFromZero() const;

private:
    struct Section
    {
        QByteArray group; // "" above the first header
        bool isNamed = false;
        QList<QByteArray> lines = {};
    };

    static QByteArray joined(const QList<Section>& sections);
    QByteArray headers() const;
    void read(const QByteArray& line);
    void separateGroups();
    QList<QString> groups(bool ofProfiles) const;
    QByteArray value(const QString& group, const char* key) const;
    bool isMarkedDefault(const QString& group) const;

    QList<Section> sections_ = {Section()};
    SettingsKeys keys_;
    QHash<QString, QString> formerGroups_;
    int rejectedLines_ = 0;
    int firstRejectedLine_ = 0;
    bool isParsed_ = false;
};

// groupOf(number) as a QString.
QString profileGroup(quint64 number);

#endif
