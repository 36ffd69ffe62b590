// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuGlobal.h"

namespace {
constexpr int SCREEN_WIDTH = 240;
constexpr int SCREEN_HEIGHT = 320;
constexpr int CST_HEIGHT = 30;
constexpr int DIALOG_MARGIN = 8;
constexpr int DIALOG_TITLE_HEIGHT = 28;
constexpr int SMALL_DIALOG_HEIGHT = 96;
} // namespace

QSize OrmuGlobal::getScreenSize()
{
    return {SCREEN_WIDTH, SCREEN_HEIGHT};
}

QRect OrmuGlobal::getContentR()
{
    return {0, 0, SCREEN_WIDTH, SCREEN_HEIGHT - CST_HEIGHT};
}

QRect OrmuGlobal::getCstR()
{
    return {0, SCREEN_HEIGHT - CST_HEIGHT, SCREEN_WIDTH, CST_HEIGHT};
}

QRect OrmuGlobal::getDlgLargeR()
{
    return getContentR().adjusted(DIALOG_MARGIN, DIALOG_MARGIN, -DIALOG_MARGIN, -DIALOG_MARGIN);
}

QRect OrmuGlobal::getDlgTitleLR()
{
    QRect title = getDlgLargeR();
    title.setHeight(DIALOG_TITLE_HEIGHT);
    return title;
}

QRect OrmuGlobal::getDlgSmallR()
{
    const QRect large = getDlgLargeR();
    QRect panel(0, 0, large.width(), SMALL_DIALOG_HEIGHT);
    panel.moveCenter(large.center());
    return panel;
}

QRect OrmuGlobal::diffRect(const QRect& outer, const QRect& inner)
{
    return inner.translated(-outer.topLeft());
}
