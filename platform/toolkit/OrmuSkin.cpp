// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuSkin.h"

const OrmuSkin* OrmuSkin::skin()
{
    static const OrmuSkin theSkin;
    return &theSkin;
}

QPixmap OrmuSkin::pixmap(const QString& name) const
{
    return QPixmap(QStringLiteral(":/ormu/skin/%1.png").arg(name));
}
