// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef UTIL_CST_H
#define UTIL_CST_H

#include "OrmuPlatformExport.h"

#include <QPointer>
#include <QWidget>

class OrmuPushButton;
class QKeyEvent;

// The bar of three soft keys at the bottom of a screen, which owns it.
class ORMU_PLATFORM_EXPORT UTIL_CST : public QWidget
{
    Q_OBJECT

public:
    // A text may be a resource id of the skin, such as "CST_Back". A key with an empty text shows nothing.
    UTIL_CST(QWidget* owner, const QString& middle, const QString& left, const QString& right);

    OrmuPushButton* getLeftBtn() const { return left_; }
    OrmuPushButton* getMidBtn() const { return middle_; }
    OrmuPushButton* getRightBtn() const { return right_; }

    // Makes bar the child of owner in place of current, which is deleted. A null bar changes nothing.
    static void replace(QPointer<UTIL_CST>& current, UTIL_CST* bar, QWidget* owner);

    // Presses the soft key of a function key: F1 left, F2 middle, F3 and Escape right. For any other key
    // the result is false. The press may delete the bar.
    bool pressFor(const QKeyEvent* event);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    OrmuPushButton* left_;
    OrmuPushButton* middle_;
    OrmuPushButton* right_;
};

#endif
