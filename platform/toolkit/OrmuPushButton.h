#ifndef ORMUPUSHBUTTON_H
#define ORMUPUSHBUTTON_H

#include <QPointer>
#include <QPushButton>

class QPopupMenu;

// A soft key. It never has the focus: the screen's function keys press it.
class OrmuPushButton : public QPushButton
{
    Q_OBJECT

public:
    explicit OrmuPushButton(QWidget* parent = nullptr, const char* name = nullptr);

    // Gives the key the text that the skin has for the id ("CST_Menu", "CST_Back"); an id that the skin does
    // not know only becomes known by resourceID().
    void setResourceID(const QString& id);
    QString resourceID() const { return resourceID_; }

    // The key opens the menu above itself instead of being clicked. The menu stays its owner's; null removes
    // it.
    void setPopup(QPopupMenu* menu);

protected:
    // A key without a text is not there for the pointer.
    bool hitButton(const QPoint& pos) const override;
    void paintEvent(QPaintEvent* event) override;

private:
    QString resourceID_;
    QPointer<QPopupMenu> popup_;
};

#endif
