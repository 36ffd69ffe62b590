// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef RES_ICON_READER_H
#define RES_ICON_READER_H

#include "OrmuPlatformExport.h"

#include <QPixmap>

// Reads the phone's icons.
class ORMU_PLATFORM_EXPORT RES_ICON_Reader
{
public:
    // The icon of that file name, such as "Network_Connection.gif"; a null pixmap when there is none.
    QPixmap getIcon(const char* fileName) const;
};

#endif
