// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUSKIN_H
#define ORMUSKIN_H

#include "OrmuPlatformExport.h"

#include <QPixmap>

// The pixmaps of the phone's skin.
class ORMU_PLATFORM_EXPORT OrmuSkin
{
public:
    static const OrmuSkin* skin();

    // The pixmap of that name, such as "Dialog_Exclamatory_Mark"; a null pixmap when there is none.
    QPixmap pixmap(const QString& name) const;
};

#endif
