// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUPUSHBUTTON_H
#define ORMUPUSHBUTTON_H

#include "OrmuPlatformExport.h"

#include <QPointer>
#include <QPushButton>

class QPopupMenu;

// A soft key. It never has the focus; the screen's function keys press it.
class ORMU_PLATFORM_EXPORT OrmuPushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit OrmuPushButton(QWidget* parent = nullptr, const char* name = nullptr);

    // Sets the key's text to the skin's text for the id ("CST_Menu", "CST_Back"). The text stays when the
    // skin has none.
    void setResourceID(const QString& id);
    QString resourceID() const { return resourceID_; }

    // The key emits clicked() and then opens the menu above itself. The caller owns the menu; null removes
    // it.
    void setPopup(QPopupMenu* menu);

protected:
    // A tap on a key without a text has no effect.
    bool hitButton(const QPoint& pos) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString resourceID_;
    QPointer<QPopupMenu> popup_;
};

#endif
