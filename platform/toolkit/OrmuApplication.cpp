// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuApplication.h"

#include "OrmuStyle.h"

#include <QVariant>
#include <QWidget>

namespace {
constexpr char MOUSE_MODE[] = "ormuMouseMode";
}

OrmuApplication::OrmuApplication(int& argc, char** argv) : QApplication(argc, argv)
{
    OrmuStyle::install();
}

void OrmuApplication::setMouseMode(QWidget* widget, int mode)
{
    widget->setProperty(MOUSE_MODE, mode);
}

int OrmuApplication::mouseMode(const QWidget* widget)
{
    return widget->property(MOUSE_MODE).toInt();
}

#include "moc_OrmuApplication.cpp"
