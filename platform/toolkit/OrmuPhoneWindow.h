// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUPHONEWINDOW_H
#define ORMUPHONEWINDOW_H

#include "OrmuPlatformExport.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class OrmuKeyFilter;
class OrmuPopupKeys;

// The phone's screen: one window of fixed size. Every full-screen widget and dialog ("screen") opens in it,
// over the others, and the one that opened last gets the keys. A screen without a parent is shown in this
// window; its creator still owns it. Open menus and lists of combo boxes move with the window and close
// when it is hidden or minimised.
class ORMU_PLATFORM_EXPORT OrmuPhoneWindow : public QWidget
{
    Q_OBJECT

public:
    // Created on first use and destroyed with the application.
    static OrmuPhoneWindow* instance();
    // The place nearest to wanted (global) where a popup of that size is on the phone, above the soft keys.
    static QRect fitPopup(const QRect& wanted);
    // The open menus and lists of combo boxes.
    static QWidgetList openPopups();

    // A screen's setVisible(): shows the screen in this window, or hides it, by setVisible. When nothing in
    // a screen that is shown has the focus, giveFocus is called.
    static void setScreenVisible(QWidget* screen, bool visible, const std::function<void()>& setVisible,
                                 const std::function<void()>& giveFocus);
    // Called by a screen's destructor.
    static void left(QWidget* screen);

    // The open screen below that one; null when there is none.
    static QWidget* beneath(const QWidget* screen);
    // The screen that gets the keys; null when none is open.
    QWidget* topScreen() const;
    // The picture on the screen, with open menus.
    QPixmap picture();

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    OrmuPhoneWindow();
    ~OrmuPhoneWindow() override;

    struct OpenScreen
    {
        QWidget* screen;
        QPointer<QWidget> focus; // its widget with the focus when another screen opened over it
    };

    void place(QWidget* screen);
    void entered(QWidget* screen);
    bool forget(const QWidget* screen);
    void giveFocusToTop();
    static void closePopups();

    static OrmuPhoneWindow* window_;
    QList<OpenScreen> screens_; // in the order in which they opened
    std::unique_ptr<OrmuKeyFilter> keyFilter_;
    std::unique_ptr<OrmuPopupKeys> popupKeys_;
};

#endif
