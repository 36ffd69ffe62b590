// toolkit_pictures DIRECTORY: renders the toolkit's widgets in their states to PNG files.

#include "OrmuApplication.h"
#include "OrmuGlobal.h"
#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "OrmuSkin.h"
#include "RES_ICON_Reader.h"
#include "ScreenDriver.h"
#include "UTIL_CST.h"
#include "UTIL_Dialog.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"
#include "UTIL_ProgressDialog.h"
#include "qpopupmenu.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>

using ScreenDriver::press;
using ScreenDriver::savePicture;

namespace {

QDir target;

void take(const char* name)
{
    QCoreApplication::processEvents();
    savePicture(target.filePath(QString::fromLatin1(name) + ".png"));
}

UTIL_ListBoxItem* row(QListBox* list, const QString& format, const QString& text, bool checked = false)
{
    auto* item = new UTIL_ListBoxItem(list, format, checked);
    item->setString(1, text);
    list->insertItem(item);
    return item;
}

void list()
{
    OrmuMainWidget screen;
    auto* bar = new UTIL_CST(&screen, "", "", "CST_Back");
    bar->getLeftBtn()->setResourceID("CST_Menu");
    auto* menu = new QPopupMenu(&screen);
    menu->insertItem("New Profile", 0);
    menu->insertItem("Delete Profiles", 1);
    bar->getLeftBtn()->setPopup(menu);
    screen.setCSTWidget(bar);
    auto* title = new QLabel("SIP Profile", screen.getContentWidget());
    title->setGeometry(0, 0, 240, 30);
    screen.getContentWidget()->addChild(title, 0, 0);
    auto* box = new UTIL_ListBox("%I%T", screen.getContentWidget(), 0);
    box->setGeometry(0, 30, 240, 260);
    screen.getContentWidget()->addChild(box, 0, 30);
    screen.show();
    take("list-empty");
    const RES_ICON_Reader icons;
    row(box, "%I%T", "Home")->setPixmap(0, icons.getIcon("Network_Connection.gif"));
    row(box, "%I%T", "Office")->setPixmap(0, icons.getIcon("Network_Locked_Profile.gif"));
    row(box, "%I%T", "A profile with a name longer than the screen is wide");
    row(box, "%I%T", QString::fromUtf8("Ελληνικά 日本 עברית"));
    for (int i = 5; i < 13; ++i)
        row(box, "%I%T", QString("Profile %1").arg(i))
            ->setPixmap(0, i % 2 == 0 ? QPixmap() : icons.getIcon("Network_Locked_Profile.gif"));
    press(Qt::Key_Down);
    take("list");
    press(Qt::Key_F1);
    take("list-menu");
    press(Qt::Key_Down);
    menu->setItemEnabled(0, false);
    take("list-menu-disabled");
    press(Qt::Key_F3);
    UTIL_ProgressDialog progress("Connecting...", "Cancel", 10, &screen);
    progress.setProgress(4);
    progress.show();
    take("progress");
}

void form()
{
    OrmuMainWidget screen(true, nullptr);
    auto* bar = new UTIL_CST(&screen, "Save", "", "CST_Back");
    bar->getLeftBtn()->setEnabled(false);
    screen.setCSTWidget(bar);
    QScrollView* content = screen.getContentWidget();
    const auto label = [&](const QString& text, int y) {
        auto* made = new QLabel(text, content);
        made->setGeometry(0, y, 220, 30);
        content->addChild(made, 0, y);
    };
    const auto entry = [&](const QString& text, int y) {
        auto* made = new OrmuMultiLineEdit(content, true, 1);
        made->insertLine(text, -1);
        content->addChild(made, 0, y);
        return made;
    };
    label("Profile name:", 0);
    entry("Home", 30);
    label("Server address:", 60);
    entry("sip.example.org", 90)->setEnabled(true);
    label("Port:", 120);
    entry("5060", 150);
    label("User Name:", 180);
    entry("alice", 210);
    label("Password:", 240);
    entry("secret", 270)->setEchoMode(QLineEdit::Password);
    label("Internet Profile:", 300);
    auto* combo = new QComboBox(content);
    combo->addItems({"internet", "office", "A connection with a long name indeed"});
    content->addChild(combo, 0, 330);
    auto* check = new QCheckBox("Auto connect when power on", content);
    check->setGeometry(0, 360, 220, 60);
    check->setChecked(true);
    content->addChild(check, 0, 360);
    screen.show();
    take("form");
    for (int i = 0; i < 4; ++i)
        press(Qt::Key_Down);
    take("form-password");
    press(Qt::Key_Down);
    take("form-combo");
    press(Qt::Key_Return);
    take("form-combo-open");
    press(Qt::Key_Escape);
    press(Qt::Key_Down);
    take("form-check");
}

// Labels longer than their places, under a menu at the last row.
void details()
{
    OrmuMainWidget screen;
    auto* bar = new UTIL_CST(&screen, "Set as default", "CST_Menu", "CST_Back");
    screen.setCSTWidget(bar);
    QScrollView* content = screen.getContentWidget();
    int y = 0;
    for (const QString& text :
         {QString("Profile name:Home"),
          "Profile name:" + QString("Conference room, second floor ").repeated(4),
          "Server address:" + QString("a.very.long.host.").repeated(8), "User Name:" + QString(90, 'w')}) {
        auto* label = new QLabel(text, content);
        label->setTextFormat(Qt::PlainText);
        label->setGeometry(0, y, 220, 30);
        content->addChild(label, 0, y);
        y += 30;
    }
    screen.show();
    take("details");
    UTIL_ProgressDialog progress("Connecting...", "Cancel", 10, &screen);
    progress.show();
    OrmuMessageBox notice(nullptr, RES_ICON_Reader().getIcon("Dialog_Complete.gif"),
                          "connect to server successfully", "", "", "", 1);
    notice.show();
    take("notice-over-progress");
    progress.hide();
    take("notice-alone");
    notice.hide();
    QPopupMenu menu;
    menu.insertItem("Connect", 0);
    menu.insertItem("Delete Profile", 1);
    menu.popup(OrmuPhoneWindow::fitPopup(
                   QRect(OrmuPhoneWindow::instance()->mapToGlobal(QPoint(120, 280)), menu.sizeHint()))
                   .topLeft());
    take("menu-at-the-end");
    menu.close();
}

void dialog(const char* name, const QString& titleText, const QString& format)
{
    UTIL_Dialog dialog(UTIL_Dialog::LARGE, false, nullptr, nullptr, 1, 0);
    QWidget* content = dialog.getDlgContent();
    const int titleHeight = OrmuGlobal::getDlgTitleLR().height();
    auto* title = new QLabel(titleText, content);
    title->setIndent(5);
    title->setGeometry(OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), OrmuGlobal::getDlgTitleLR()));
    QCheckBox* all = nullptr;
    if (format.contains("%C")) {
        all = new QCheckBox("All", content);
        all->setGeometry(155, 0, title->width() - 155, titleHeight);
        all->setPalette(title->palette());
    }
    auto* box = new UTIL_ListBox(format, content, 0);
    box->setGeometry(0, titleHeight, content->width(), content->height() - titleHeight);
    auto* bar = new UTIL_DlgCST(&dialog, UTIL_DlgCST::TWO_BUTTONS);
    bar->getBtn2()->setText("Cancel");
    bar->getBtn1()->setText("OK");
    dialog.setDlgCst(bar);
    dialog.show();
    take((QByteArray(name) + "-empty").constData());
    for (int i = 0; i < 10; ++i)
        row(box, format, QString("Profile %1").arg(i));
    box->checkItem(1, true);
    box->checkItem(2, true);
    take(name);
    if (all == nullptr)
        return;
    all->setChecked(true);
    all->setFocus();
    take((QByteArray(name) + "-all").constData());
}

void message(const char* name, const QPixmap& icon, const QString& text, const QString& button0,
             const QString& button1 = QString(), const QString& button2 = QString())
{
    OrmuMessageBox box(nullptr, icon, text, button0, button1, button2, 1);
    box.show();
    take(name);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const OrmuApplication application(argc, argv);
    target = QDir(QString::fromLocal8Bit(argc > 1 ? argv[1] : "."));
    target.mkpath(".");
    list();
    form();
    details();
    dialog("delete", "Delete", "%C%T");
    dialog("select", "Select Profile", "%R%T");
    const RES_ICON_Reader icons;
    message("question", icons.getIcon("Dialog_Question_Mark.jpg"), "Disconnect current connection?", "OK",
            "Cancel");
    message("retry", icons.getIcon("Dialog_Exclamatory_Mark.jpg"), "Incorrect User name", "Retry", "Cancel");
    message("failed", icons.getIcon("Dialog_Exclamatory_Mark.gif"),
            "Incorrect profile\nfailed to connect to server", "OK");
    message("complete", icons.getIcon("Dialog_Complete.gif"), "connect to server successfully", QString());
    message("skin", OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark"),
            "Some required value is not input, input again.", "Yes", "No", "Later");
    message("long", QPixmap(), QString("All the words of a text that is far too long. ").repeated(40), "OK");
    message("unbreakable", icons.getIcon("Dialog_Question_Mark.jpg"), QString(70, 'm'), "OK");
}
