// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUAPPLICATION_H
#define ORMUAPPLICATION_H

#include "OrmuPlatformExport.h"

#include <QApplication>

// The application of a program on the phone, with the phone's skin.
class ORMU_PLATFORM_EXPORT OrmuApplication : public QApplication
{
    Q_OBJECT

public:
    OrmuApplication(int& argc, char** argv);

    // The mouse mode of a widget. In mode 1 a list takes a long press and the Menu key for the right
    // button; 0 is the default.
    static void setMouseMode(QWidget* widget, int mode);
    static int mouseMode(const QWidget* widget);
};

#endif
