// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QPOPUPMENU_H
#define QPOPUPMENU_H

#include "OrmuPlatformExport.h"

#include <QMenu>

#include <optional>

// A menu whose entries have ids that the program chooses. It opens inside the phone's window.
//
// Keys: the arrows move; Enter and the left and middle soft keys (F1, F2) choose; the right one (F3) and
// Escape close. The soft keys show this while the menu is open, and a tap on them does the same.
class ORMU_PLATFORM_EXPORT QPopupMenu : public QMenu
{
    Q_OBJECT

public:
    explicit QPopupMenu(QWidget* parent = nullptr, const char* name = nullptr);

    // Inserts an entry before the index-th one, or at the end when there is no such entry. Returns id.
    int insertItem(const QString& text, int id, int index = -1);
    // When no entry has the id, these do nothing and return false or an empty text.
    void changeItem(int id, const QString& text);
    void setItemEnabled(int id, bool enable);
    bool isItemEnabled(int id) const;
    QString text(int id) const;

    // Opens the menu with its entry indexAtPoint at pos (global), moved as far as necessary to fit into the
    // phone's window, and waits for the user. Returns the chosen id after activated() was emitted; -1 when
    // nothing was chosen or the menu was deleted meanwhile.
    int exec(const QPoint& pos, int indexAtPoint = 0);
    // Opens the menu with its lower left corner at pos (global) and returns at once.
    void popupAbove(const QPoint& pos);

signals:
    void activated(int id);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QAction* find(int id) const;
    void emitChosen();

    std::optional<int> chosen_; // not yet emitted
};

#endif
