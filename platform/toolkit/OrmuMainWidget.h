// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUMAINWIDGET_H
#define ORMUMAINWIDGET_H

#include "OrmuPlatformExport.h"
#include "UTIL_CST.h"
#include "qcustomevent.h"
#include "qscrollview.h"

#include <QPointer>

using WFlags = unsigned int;

// A full-screen widget: a content area that scrolls above a bar of soft keys.
//
// A screen without a parent opens in the phone's window, over the screens that are open there. Its creator
// owns it and may delete it at any time, also in a slot that one of its children called.
class ORMU_PLATFORM_EXPORT OrmuMainWidget : public QWidget
{
    Q_OBJECT

public:
    // flags has no effect; the phone's toolkit has it.
    explicit OrmuMainWidget(QWidget* parent = nullptr, const char* name = nullptr, WFlags flags = 0);
    // In a form Up and Down move the focus from entry to entry, and the centre key acts on the entry with
    // the focus. Otherwise Up and Down scroll content that is higher than the screen.
    OrmuMainWidget(bool form, QWidget* parent, const char* name = nullptr, WFlags flags = 0);
    ~OrmuMainWidget() override;

    // addChild(child, x, y) adds to the content.
    QScrollView* getContentWidget() const { return content_; }

    // Replaces the bar at the bottom by bar, a UTIL_CST. The screen owns it.
    void setCSTWidget(QWidget* bar);
    QWidget* getCSTWidget() const;

    void setVisible(bool visible) override;

protected:
    // Called for events of type 1000 (QEvent::User) and up.
    virtual void customEvent(QCustomEvent* event);
    void customEvent(QEvent* event) final;

    void keyPressEvent(QKeyEvent* event) override;

private:
    void build(const char* name, bool form);

    QScrollView* content_ = nullptr;
    QPointer<UTIL_CST> bar_;
};

#endif
