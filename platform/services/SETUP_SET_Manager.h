// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SET_MANAGER_H
#define SETUP_SET_MANAGER_H

#include "OrmuPlatformExport.h"

#include <QString>

#include <memory>

// Reads and writes the grouped keys of one settings file: "[group]" lines, "key=value" lines and "#" comments
// in UTF-8. A person can read and edit the file.
//
// The constructor reads the file from disk; nothing is cached between managers. The operations work in
// memory. If they changed anything, the destructor reads the file again, repeats the changes on it, and
// replaces the file by the result. The replacement is one atomic step and on the disk when the destructor
// returns: a reader sees the old file or the new one whole. So managers that work at the same time, in this
// process or in others, keep each other's keys; a key that two of them wrote has the value of the one
// destroyed last. A manager that changed nothing writes nothing.
//
// Groups, keys and comments that the program does not know stay unchanged, but for blanks around "=" and
// between lines. The file has mode 0600.
//
// A missing file in an existing directory reads as empty, and so does one that cannot be parsed. The latter
// gets a second name that ends in ".damaged", ".damaged.1" and so on, and mode 0600, before it is replaced;
// if that fails it is not replaced.
//
// A file that cannot be read (input/output error, no permission, no directory, ...) answers with defaults,
// but is never overwritten. The save of this manager is refused, and so is every later one of that path in
// this process, even when the file can be read again, until the host calls beginSettings() (see
// SettingsFailure.h). So no value that follows from a failed read gets into the file. The same holds when the
// destructor cannot read the file; changes that earlier saves could not write are then dropped as well.
//
// A path that is a symbolic link stands for the file at the end of the links: that file is replaced, or made
// when it is missing, with its lock, temporary and damaged files beside it.
//
// Changes that cannot be saved for another reason are read as if they had been saved. The next save of that
// path in this process saves them too, or else endSettings() does.
//
// The operations report no errors. The host's handler (see SettingsFailure.h) is told of every failed read
// and save, and so is the log, which gets no values.
//
// The constructor blocks for one file read. The destructor of a changed manager blocks for a file read and a
// durable write, and waits while another manager writes in the same directory. For one thread at a time.
class ORMU_PLATFORM_EXPORT SETUP_SET_Manager
{
public:
    // path names the file, in a directory that exists. The parameters create here and localized below are for
    // the phone's own manager; this one ignores them.
    SETUP_SET_Manager(const QString& path, bool create);
    ~SETUP_SET_Manager();
    SETUP_SET_Manager(const SETUP_SET_Manager&) = delete;
    SETUP_SET_Manager& operator=(const SETUP_SET_Manager&) = delete;

    // Sets value to the stored one, or to defaultValue when the key is missing or its value is of another
    // type. Every stored value is a text too: a stored boolean reads as "true" or "false".
    void getSettingInfo(const QString& group, const QString& key, QString& value, const QString& defaultValue,
                        bool localized) const;
    void getSettingInfo(const QString& group, const QString& key, bool& value, bool defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, int& value, int defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                        unsigned int defaultValue) const;

    // Creates the group and the key when they are missing. Any text is read back unchanged. A group or key
    // name that is empty, contains a control character or one of "[]=#", or has a blank at an end is refused
    // with a warning.
    void setSettingInfo(const QString& group, const QString& key, const QString& value, bool localized);
    void setSettingInfo(const QString& group, const QString& key, bool value);
    void setSettingInfo(const QString& group, const QString& key, int value);
    void setSettingInfo(const QString& group, const QString& key, unsigned int value);
    // Deleted: a string literal would convert to bool. Pass localized to store a text.
    template <class T>
    void setSettingInfo(const QString& group, const QString& key, const T* value) = delete;
    void setSettingInfo(const QString& group, const QString& key, const QString& value) = delete;

    // Removes the group with all its keys, if it exists. The comment above the next group stays there.
    void clearGroup(const QString& group);

private:
    class File;
    std::unique_ptr<File> file_;
};

#endif
