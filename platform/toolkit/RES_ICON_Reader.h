#ifndef RES_ICON_READER_H
#define RES_ICON_READER_H

#include <QPixmap>

// Reads the phone's icons.
class RES_ICON_Reader
{
public:
    // The icon of that file name, such as "Network_Connection.gif"; an empty pixmap when there is none.
    QPixmap getIcon(const char* fileName) const;
};

#endif
