#ifndef SETUP_SIP_PROFILELIST_H
#define SETUP_SIP_PROFILELIST_H

#include "SETUP_SIP_ProfileListBase.h"
#include "qvaluelist.h"

class QPopupMenu;
class UTIL_ListBox;

// The list of the stored SIP profiles, with the main menu on the left soft key. The store lives as long as
// the screen does.
class SETUP_SIP_ProfileList : public SETUP_SIP_ProfileListBase
{
    Q_OBJECT

public:
    explicit SETUP_SIP_ProfileList(QWidget* parent = nullptr, const char* name = nullptr);
    ~SETUP_SIP_ProfileList() override;

    void createScreen() override;

protected slots:
    // Event 1000 deletes the detail screen, after the code of that screen that led here has returned.
    void customEvent(QCustomEvent* event) override;

private:
    void initProfileList();
    // Shows the store's profiles anew, and lets the menu offer what can be done with so many.
    void refreshList();

    QValueList<QString> profileNames;
    QPopupMenu* menu = nullptr;
    QWidget* detailScreen = nullptr; // open detail screen; deleted by the events' handler only
    UTIL_ListBox* listBox = nullptr;
};

#endif
