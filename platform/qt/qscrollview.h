// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QSCROLLVIEW_H
#define QSCROLLVIEW_H

#include "OrmuPlatformExport.h"

#include <QScrollArea>

// A scroll area with children at fixed places of its contents.
class ORMU_PLATFORM_EXPORT QScrollView : public QScrollArea
{
    Q_OBJECT

public:
    explicit QScrollView(QWidget* parent = nullptr);

    // Adds child to the contents with its upper left corner at (x, y) and enlarges the contents to hold it.
    // The view owns the child.
    virtual void addChild(QWidget* child, int x = 0, int y = 0);

protected:
    // Enlarges the contents when a child is moved or resized.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void growToHold(const QWidget* child);
};

#endif
