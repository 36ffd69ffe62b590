#ifndef ORMUPHONEWINDOW_H
#define ORMUPHONEWINDOW_H

#include "OrmuKeyFilter.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <memory>

class OrmuPopupKeys;

// The phone's screen: one window of fixed size, in which every full-screen widget and dialog opens over the
// others. The screen that was opened last has the keys. A screen that has no parent is shown in this window
// but stays its maker's: the window never deletes one. Menus and the lists of combo boxes that are open over
// it go with the window: they move with it, and close when it is hidden or minimised.
class OrmuPhoneWindow : public QWidget
{
    Q_OBJECT

public:
    // Made on first use; goes with the application.
    static OrmuPhoneWindow* instance();
    // Where a popup of that size and global place fits on the phone, above the soft keys.
    static QRect fitPopup(const QRect& wanted);
    // The menus and lists of combo boxes that are open.
    static QWidgetList openPopups();

    // A screen calls these around its own showing: place() before it becomes visible, entered() after,
    // left() once it is hidden or about to be deleted.
    static void place(QWidget* screen);
    static void entered(QWidget* screen);
    static void left(QWidget* screen);

    // The open screen over which that one opened; null when there is none.
    static QWidget* beneath(const QWidget* screen);
    // The screen that has the keys; null when none is open.
    QWidget* topScreen() const;
    // What the user sees, open menus included.
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
        QPointer<QWidget> focus; // what had the keys when another screen opened over this one
    };

    bool forget(const QWidget* screen);
    void giveFocusToTop();
    static void closePopups();

    static OrmuPhoneWindow* window_;
    QList<OpenScreen> screens_; // in the order of their opening
    OrmuKeyFilter keyFilter_;
    std::unique_ptr<OrmuPopupKeys> popupKeys_;
};

#endif
