// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QLISTBOX_H
#define QLISTBOX_H

#include "OrmuPlatformExport.h"

#include <QListWidget>
#include <QTimer>

class QListBox;

class ORMU_PLATFORM_EXPORT QListBoxItem : public QListWidgetItem
{
public:
    explicit QListBoxItem(const QString& text = QString());
    ~QListBoxItem() override;
};

// A list of rows, numbered from 0. The current row is highlighted.
//
// A click is a press of the left button and its release on the same row, or Enter on the current row. In
// mouse mode 1 (OrmuApplication::setMouseMode() on the viewport) a long press counts as a press of the
// right button and not as a click, and the Menu key (F4, Shift+F10) as one on the current row. The receiver
// of a signal may clear or delete the list.
class ORMU_PLATFORM_EXPORT QListBox : public QListWidget
{
    Q_OBJECT

public:
    // A press of this many milliseconds is long.
    static constexpr int LONG_PRESS_MS = 700;

    explicit QListBox(QWidget* parent = nullptr, const char* name = nullptr);

    // Inserts item before the index-th row, or at the end when there is no such row. The list owns it.
    void insertItem(QListBoxItem* item, int index = -1);
    // Null when there is no such row.
    QListBoxItem* item(int index) const;
    // -1 when there is none.
    int currentItem() const { return currentRow(); }
    void setCurrentItem(int index) { setCurrentRow(index); }

signals:
    // item is null beside the rows; pos is global.
    void rightButtonPressed(QListBoxItem* item, const QPoint& pos);
    void mouseButtonClicked(int button, QListBoxItem* item, const QPoint& pos);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

    // Called before the signal of a click; item is not null.
    virtual void clickItem(QListBoxItem* item);

private:
    QListBoxItem* itemAtPoint(const QPoint& viewportPos) const;
    QPoint centreOf(const QListBoxItem* item) const;
    void click(QListBoxItem* item, const QPoint& globalPos);
    void longPress();

    QTimer longPressTimer_{this};
    QPoint pressPos_;                     // in the viewport
    QListBoxItem* pressedItem_ = nullptr; // only compared: it may have been deleted
    bool pressed_ = false;
};

#endif
