#ifndef ORMUCONFIG_H
#define ORMUCONFIG_H

#include <QString>

class OrmuConfig
{
public:
    // The directory of the phone's settings files: the environment variable ORMU_SETTING_DIR as it stands
    // if it is set, even to nothing; otherwise "ormu" under the user's configuration directory. Read anew on
    // every call. A missing directory is made with mode 0700; one that cannot be made is named all the same.
    static QString getSettingDirectory();
};

#endif
