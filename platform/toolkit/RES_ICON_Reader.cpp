// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "RES_ICON_Reader.h"

#include <QPixmapCache>

QPixmap RES_ICON_Reader::getIcon(const char* fileName) const
{
    const QString path = QLatin1String(":/ormu/icons/") + QLatin1String(fileName);
    QPixmap icon;
    if (!QPixmapCache::find(path, &icon) && icon.load(path))
        QPixmapCache::insert(path, icon);
    return icon;
}
