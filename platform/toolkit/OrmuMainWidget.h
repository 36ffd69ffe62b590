#ifndef ORMUMAINWIDGET_H
#define ORMUMAINWIDGET_H

#include "UTIL_CST.h"
#include "qcustomevent.h"
#include "qscrollview.h"

#include <QPointer>

using WFlags = unsigned int;

// A full-screen widget: a content area that scrolls above a bar of soft keys.
//
// A screen without a parent opens in the phone's window, over the screens that are open there, and stays its
// maker's to delete; it may be deleted at any time, also inside a slot that one of its own children called.
class OrmuMainWidget : public QWidget
{
    Q_OBJECT

public:
    // flags are kept for the phone's sake; 0 is the one value in use.
    explicit OrmuMainWidget(QWidget* parent = nullptr, const char* name = nullptr, WFlags flags = 0);
    // form: the content is a form. Up and Down move the focus from entry to entry, and the centre key acts on
    // the entry that has it. Otherwise Up and Down scroll content that is longer than the screen.
    OrmuMainWidget(bool form, QWidget* parent, const char* name = nullptr, WFlags flags = 0);
    ~OrmuMainWidget() override;

    // Children are added to it with addChild(child, x, y).
    QScrollView* getContentWidget() const { return content_; }

    // Puts bar, a UTIL_CST, at the bottom in place of the one that was there. The screen owns it.
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
