// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef TOOLKIT_TEST_H
#define TOOLKIT_TEST_H

#include "OrmuApplication.h"
#include "OrmuGlobal.h"
#include "OrmuMainWidget.h"
#include "OrmuPhoneWindow.h"
#include "OrmuPushButton.h"
#include "ScreenDriver.h"
#include "UTIL_CST.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QImage>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using ScreenDriver::click;
using ScreenDriver::clickAt;
using ScreenDriver::onceOpen;
using ScreenDriver::open;
using ScreenDriver::press;
using ScreenDriver::waitFor;

// A screen with three soft keys, whose clicks it counts. It is shown by show(), and deleted at the end unless
// the test has deleted it.
struct TestScreen
{
    explicit TestScreen(bool isForm = false) : widget(new OrmuMainWidget(isForm, nullptr))
    {
        widget->setCSTWidget(bar);
    }
    ~TestScreen() { delete widget; }
    TestScreen(const TestScreen&) = delete;
    TestScreen& operator=(const TestScreen&) = delete;

    QScrollView* content() const { return widget->getContentWidget(); }
    void show() const { widget->show(); }

    // Adds a list with rows "row 0", "row 1", ... below the title.
    UTIL_ListBox* addList(const QString& format, int rows) const;

    QPointer<OrmuMainWidget> widget;
    UTIL_CST* bar = new UTIL_CST(widget, "OK", "CST_Menu", "CST_Back");
    QSignalSpy left{bar->getLeftBtn(), &QPushButton::clicked};
    QSignalSpy middle{bar->getMidBtn(), &QPushButton::clicked};
    QSignalSpy right{bar->getRightBtn(), &QPushButton::clicked};
};

// Appends rows "row 0", "row 1", ... to a list of that format.
inline void addRows(UTIL_ListBox* list, const QString& format, int count)
{
    for (int i = 0; i < count; ++i) {
        auto* row = new UTIL_ListBoxItem(list, format, false);
        row->setString(static_cast<int>(format.indexOf('T') / 2), QString("row %1").arg(i));
        list->insertItem(row, -1);
    }
}

inline UTIL_ListBox* TestScreen::addList(const QString& format, int rows) const
{
    auto* list = new UTIL_ListBox(format, content(), 0);
    addRows(list, format, rows);
    list->setGeometry(0, 30, 240, 260);
    content()->addChild(list, 0, 30);
    OrmuApplication::setMouseMode(list->viewport(), 1);
    return list;
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
