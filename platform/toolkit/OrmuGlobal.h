// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUGLOBAL_H
#define ORMUGLOBAL_H

#include "OrmuPlatformExport.h"

#include <QRect>
#include <QSize>

// The layout of the phone's screen in pixels, in the screen's coordinates.
class ORMU_PLATFORM_EXPORT OrmuGlobal
{
public:
    static QSize getScreenSize();
    // The content of a full-screen widget, above the soft keys.
    static QRect getContentR();
    // The soft-key bar.
    static QRect getCstR();
    // A large dialog's panel, above the soft keys, and its title strip.
    static QRect getDlgLargeR();
    static QRect getDlgTitleLR();
    // A small dialog's panel. A dialog with more content is higher.
    static QRect getDlgSmallR();
    // inner, in the coordinates of outer.
    static QRect diffRect(const QRect& outer, const QRect& inner);
};

#endif
