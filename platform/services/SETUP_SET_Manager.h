#ifndef SETUP_SET_MANAGER_H
#define SETUP_SET_MANAGER_H

#include <QString>

#include <memory>

// Reads and writes the grouped keys of one settings file: "[group]" lines, "key=value" lines and "#" comments
// in UTF-8, fit to be read and mended by hand.
//
// A manager reads its file when it is made, and never a cache; from then on it answers from memory, its own
// changes included. In its destructor, if it changed anything, it reads the file anew, makes its changes
// there, and puts the result in the file's place as one atomic replacement that is on the disk when the
// destructor returns: a reader sees the old file or the new one whole. Managers at work at the same time, in
// this process or in others, so keep each other's keys; the one destroyed later wins a key that both wrote. A
// manager that changed nothing writes nothing.
//
// Groups, keys and comments that the program does not know stay as they are, but for blanks around "=" and
// between lines. The file has mode 0600.
//
// A file that is missing from its directory reads as empty, and so does one that cannot be parsed. The latter
// is given a second name that ends in ".damaged", ".damaged.1" and so on, and mode 0600, before it is
// replaced; if that fails it is not replaced.
//
// A file that cannot be read (input/output error, no permission, no directory, ...) answers with defaults,
// but is not taken for empty: nothing is written over it. The save of this manager is refused, and so is
// every later one of that path in this process, whether or not the file can be read again by then, until the
// host loads the settings anew (see SettingsFailure.h). Nothing that follows from a read that failed so gets
// into the file. The same holds when it is the destructor that cannot read the file; changes that earlier
// saves could not write are dropped as well then.
//
// A path that is a symbolic link stands for the file at the end of the links: that one is replaced, or made
// when it is not there yet, with its lock, temporary and damaged files beside it.
//
// Changes that cannot be saved for another reason are read as if they had been, and are saved with the next
// save of that path in this process, or when the host has closed the screens (endSettings() in
// SettingsFailure.h).
//
// The operations report no errors. What could not be read or saved is told to the host's handler (see
// SettingsFailure.h), and in a warning, which quotes no values.
//
// Making a manager blocks for one file read. Destroying one that has changes blocks for a file read and a
// write to the disk, and waits while another manager does so in the same directory. For one thread at a time.
class SETUP_SET_Manager
{
public:
    // path is the file's, in a directory that exists. create, and localized below, are for the phone's own
    // manager; this one does the same for either value.
    SETUP_SET_Manager(const QString& path, bool create);
    ~SETUP_SET_Manager();
    SETUP_SET_Manager(const SETUP_SET_Manager&) = delete;
    SETUP_SET_Manager& operator=(const SETUP_SET_Manager&) = delete;

    // Sets value to what is stored, or to defaultValue when the group or the key is missing or holds
    // something of another type. Everything stored is a text too: a stored boolean reads as "true" or
    // "false".
    void getSettingInfo(const QString& group, const QString& key, QString& value, const QString& defaultValue,
                        bool localized) const;
    void getSettingInfo(const QString& group, const QString& key, bool& value, bool defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, int& value, int defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                        unsigned int defaultValue) const;

    // Creates the group and the key as needed. A text is stored as it is, any QString, and comes back the
    // same. A name with control characters, with one of "[]=#", or with a blank at an end is refused with a
    // warning.
    void setSettingInfo(const QString& group, const QString& key, const QString& value, bool localized);
    void setSettingInfo(const QString& group, const QString& key, bool value);
    void setSettingInfo(const QString& group, const QString& key, int value);
    void setSettingInfo(const QString& group, const QString& key, unsigned int value);
    // A text needs the fourth argument; without it a literal would be stored as a boolean.
    template <class T>
    void setSettingInfo(const QString& group, const QString& key, const T* value) = delete;
    void setSettingInfo(const QString& group, const QString& key, const QString& value) = delete;

    // Removes the group with all its keys; nothing when there is no such group. A comment that stands above
    // the next group stays there.
    void clearGroup(const QString& group);

private:
    class File;
    std::unique_ptr<File> file_;
};

#endif
