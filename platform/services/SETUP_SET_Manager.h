#ifndef SETUP_SET_MANAGER_H
#define SETUP_SET_MANAGER_H

#include <QString>

#include <memory>

// Reads and writes the grouped keys of one settings file.
//
// A manager reads its file once, when it is made, and never a cache; what it changed reaches the disk as one
// atomic replacement no later than its destructor. A manager that changed nothing writes nothing.
class SETUP_SET_Manager
{
public:
    SETUP_SET_Manager(const QString& path, bool create);
    ~SETUP_SET_Manager();
    SETUP_SET_Manager(const SETUP_SET_Manager&) = delete;
    SETUP_SET_Manager& operator=(const SETUP_SET_Manager&) = delete;

    // Sets value to what is stored, or to defaultValue when the group or the key is missing or holds
    // something of another type.
    void getSettingInfo(const QString& group, const QString& key, QString& value, const QString& defaultValue,
                        bool localized) const;
    void getSettingInfo(const QString& group, const QString& key, bool& value, bool defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, int& value, int defaultValue) const;
    void getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                        unsigned int defaultValue) const;

    // Creates the group and the key as needed.
    void setSettingInfo(const QString& group, const QString& key, const QString& value, bool localized);
    void setSettingInfo(const QString& group, const QString& key, bool value);
    void setSettingInfo(const QString& group, const QString& key, int value);
    void setSettingInfo(const QString& group, const QString& key, unsigned int value);
    // A text needs the fourth argument; without it a literal would be stored as a boolean.
    void setSettingInfo(const QString& group, const QString& key, const char* value) = delete;
    void setSettingInfo(const QString& group, const QString& key, const QString& value) = delete;

    // Removes the group with all its keys; nothing when there is no such group.
    void clearGroup(const QString& group);

private:
    class File;
    std::unique_ptr<File> file_;
};

#endif
