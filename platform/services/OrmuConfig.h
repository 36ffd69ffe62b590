#ifndef ORMUCONFIG_H
#define ORMUCONFIG_H

#include <QString>

class OrmuConfig
{
public:
    // The directory of the phone's settings files: the environment variable ORMU_SETTING_DIR as it stands
    // if it is set, even to nothing; otherwise "ormu" under the user's configuration directory. Read anew on
    // every call. A missing directory is made with mode 0700, and so are missing ones above it; one that
    // cannot be made is named all the same, after a warning. Blocks for the file system; for any thread.
    static QString getSettingDirectory();
};

#endif
