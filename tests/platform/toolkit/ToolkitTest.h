#ifndef TOOLKIT_TEST_H
#define TOOLKIT_TEST_H

#include "OrmuPhoneWindow.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"

#include <QImage>

// Appends rows "row 0", "row 1", ... to a list of that format.
inline void addRows(UTIL_ListBox* list, const QString& format, int count)
{
    for (int i = 0; i < count; ++i) {
        auto* row = new UTIL_ListBoxItem(list, format, false);
        row->setString(static_cast<int>(format.indexOf('T') / 2), QString("row %1").arg(i));
        list->insertItem(row, -1);
    }
}

// The number of pixels in a part of the picture that hold.
template <class Holds>
int countPixels(const QImage& picture, const QRect& part, Holds holds)
{
    int count = 0;
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            count += holds(picture.pixelColor(x, y)) ? 1 : 0;
    return count;
}

// The soft keys that are shown while a menu or the list of a combo box is open.
inline UTIL_CST* popupSoftKeys()
{
    return OrmuPhoneWindow::instance()->findChild<UTIL_CST*>(QString(), Qt::FindDirectChildrenOnly);
}

#endif
