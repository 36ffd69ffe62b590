// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"
#include "OrmuSkin.h"
#include "OrmuStyle.h"
#include "RES_ICON_Reader.h"
#include "ToolkitTest.h"
#include "UTIL_Dialog.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ProgressDialog.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QProgressBar>
#include <QScrollBar>
#include <QTextEdit>

namespace {

const QString NONE;

class Dialog : public UTIL_Dialog
{
public:
    explicit Dialog(QWidget* parent = nullptr) : UTIL_Dialog(LARGE, false, parent, "dialog", 1, 0)
    {
        bar = new UTIL_DlgCST(this, UTIL_DlgCST::TWO_BUTTONS);
        bar->getBtn1()->setText("OK");
        bar->getBtn2()->setText("Cancel");
        connect(bar->getBtn1(), &QPushButton::clicked, this, &Dialog::accept);
        connect(bar->getBtn2(), &QPushButton::clicked, this, &Dialog::reject);
        setDlgCst(bar);
    }

    UTIL_DlgCST* bar;
};

// A dialog with the delete dialog's widgets.
class CheckListDialog : public Dialog
{
public:
    CheckListDialog()
    {
        all = new QCheckBox("All", getDlgContent());
        all->setGeometry(155, 0, 60, 28);
        list = new UTIL_ListBox("%C%T", getDlgContent(), 0);
        list->setGeometry(0, 28, 224, 200);
        addRows(list, "%C%T", 2);
    }

    QCheckBox* all;
    UTIL_ListBox* list;
};

// A message box with that text and buttons, and without an icon.
struct Box : OrmuMessageBox
{
    explicit Box(const QStringList& buttons = {"OK", "Cancel"}, const QString& text = "?")
        : OrmuMessageBox(nullptr, QPixmap(), text, buttons.value(0), buttons.value(1), buttons.value(2), 1)
    {
    }
};

// Runs a dialog, and act on it once it is open.
template <class Shown>
int run(Shown& dialog, const std::function<void(Shown&)>& act)
{
    const auto answer = onceOpen<Shown>(act);
    return dialog.exec();
}

int answerTo(const QStringList& buttons, Qt::Key key)
{
    Box box(buttons);
    return run<OrmuMessageBox>(box, [key](OrmuMessageBox&) { press(key); });
}

// Runs the dialog, whose first soft key deletes it, and calls act.
void expectToSurviveDeletionBy(const std::function<void(Dialog&)>& act)
{
    QPointer<Dialog> dialog = new Dialog;
    dialog->bar->getBtn1()->disconnect(dialog);
    QObject::connect(dialog->bar->getBtn1(), &QPushButton::clicked, [dialog] { delete dialog; });
    EXPECT_EQ(run<Dialog>(*dialog, act), QDialog::Rejected);
    EXPECT_TRUE(dialog.isNull());
}

// The time that a notice takes, in milliseconds.
qint64 durationOf(const std::function<void()>& notice)
{
    QElapsedTimer clock;
    clock.start();
    notice();
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
    return clock.elapsed();
}

int serviceNotice()
{
    return OrmuMessageBox::timerInformation(nullptr, QPixmap(), "Service is not available", 2, "OK", NONE,
                                            NONE, 1);
}

} // namespace

TEST(Dialog, HasAContentOfTheDialogsSize)
{
    Dialog dialog;
    dialog.show();
    EXPECT_EQ(dialog.getDlgContent()->geometry(), OrmuGlobal::getDlgLargeR());
    EXPECT_EQ(dialog.size(), OrmuGlobal::getScreenSize());
    EXPECT_EQ(dialog.window(), OrmuPhoneWindow::instance());
    EXPECT_EQ(dialog.bar->geometry(), OrmuGlobal::getCstR());
}

TEST(Dialog, IsAcceptedAndRejectedByKeysAndPointer)
{
    Dialog dialog;
    EXPECT_EQ(run<Dialog>(dialog, [](Dialog&) { press(Qt::Key_F1); }), QDialog::Accepted);
    EXPECT_EQ(run<Dialog>(dialog, [](Dialog& open) { click(open.bar->getBtn1()); }), QDialog::Accepted);
    EXPECT_EQ(run<Dialog>(dialog, [](Dialog&) { press(Qt::Key_F3); }), QDialog::Rejected);
    EXPECT_EQ(run<Dialog>(dialog, [](Dialog&) { press(Qt::Key_Escape); }), QDialog::Rejected);
    EXPECT_EQ(run<Dialog>(dialog, [](Dialog& open) { click(open.bar->getBtn2()); }), QDialog::Rejected);
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr);
}

TEST(Dialog, IsRejectedByF3AndEscapeWithoutSoftKeys)
{
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        OrmuBaseDialog dialog;
        EXPECT_EQ(run<OrmuBaseDialog>(dialog, [key](OrmuBaseDialog&) { press(key); }), QDialog::Rejected);
    }
}

TEST(Dialog, IgnoresClicksBesideItsPanel)
{
    const TestScreen screen;
    screen.show();
    QLineEdit beneath(screen.widget);
    beneath.setGeometry(0, 0, 7, 200);
    beneath.show();
    Dialog dialog;
    dialog.show();
    clickAt(&dialog, QPoint(3, 100));
    clickAt(&dialog, OrmuGlobal::getCstR().center());
    EXPECT_FALSE(beneath.hasFocus());
    EXPECT_EQ(screen.middle.size(), 0);
    EXPECT_EQ(open<Dialog>(), &dialog);
}

TEST(Dialog, KeepsTheFocusUntilItCloses)
{
    OrmuMainWidget screen;
    QLineEdit beneath(&screen);
    screen.show();
    ASSERT_TRUE(beneath.hasFocus());
    {
        CheckListDialog dialog;
        dialog.show();
        for (int i = 0; i < 7; ++i) {
            press(i % 2 == 0 ? Qt::Key_Tab : Qt::Key_Down);
            EXPECT_TRUE(dialog.isAncestorOf(QApplication::focusWidget())) << i;
            EXPECT_NE(QApplication::focusWidget(), &dialog) << i;
        }
    }
    EXPECT_TRUE(beneath.hasFocus());
}

TEST(Dialog, IsOperatedByArrowsAndTheCentreKey)
{
    CheckListDialog dialog;
    dialog.show();
    EXPECT_TRUE(dialog.list->hasFocus());
    press(Qt::Key_Return);
    EXPECT_TRUE(dialog.list->itemChecked(0));
    press(Qt::Key_Up);
    EXPECT_TRUE(dialog.all->hasFocus());
    press(Qt::Key_Return);
    EXPECT_TRUE(dialog.all->isChecked());
    press(Qt::Key_Down);
    EXPECT_TRUE(dialog.list->hasFocus());
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_TRUE(dialog.list->itemChecked(1));
}

TEST(Dialog, IsRejectedWhenItsSoftKeyDeletesIt)
{
    expectToSurviveDeletionBy([](Dialog&) { press(Qt::Key_F1); });
    expectToSurviveDeletionBy([](Dialog& dialog) { click(dialog.bar->getBtn1()); });
    expectToSurviveDeletionBy([](Dialog& dialog) { delete &dialog; });
}

TEST(Dialog, IsDeletedWithItsParentWhileItRuns)
{
    auto* screen = new OrmuMainWidget;
    screen->show();
    const QPointer<Dialog> dialog = new Dialog(screen);
    EXPECT_EQ(run<Dialog>(*dialog, [screen](Dialog&) { delete screen; }), QDialog::Rejected);
    EXPECT_TRUE(dialog.isNull());
}

TEST(MessageBox, ReturnsTheIndexOfThePressedButton)
{
    struct Case
    {
        QStringList buttons;
        Qt::Key key;
        int answer;
    };
    const QStringList two = {"OK", "Cancel"};
    const QStringList three = {"Yes", "No", "Later"};
    const Case cases[] = {{two, Qt::Key_F1, 0},     {two, Qt::Key_Return, 0},  {two, Qt::Key_F3, 1},
                          {two, Qt::Key_Escape, 1}, {three, Qt::Key_F1, 0},    {three, Qt::Key_F2, 1},
                          {three, Qt::Key_F3, 2},   {three, Qt::Key_Escape, 2}};
    for (const auto& [buttons, key, answer] : cases)
        EXPECT_EQ(answerTo(buttons, key), answer) << key;
    for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_Escape, Qt::Key_Return}) {
        EXPECT_EQ(answerTo({"OK"}, key), 0) << key;
        EXPECT_EQ(answerTo({}, key), -1) << key;
    }
}

TEST(MessageBox, IsAnsweredByPointer)
{
    Box box;
    for (const int expected : {0, 1}) {
        const auto clickButton = [expected](OrmuMessageBox& open) {
            for (auto* key : open.findChildren<OrmuPushButton*>())
                if (key->text() == open.buttonText(expected))
                    click(key);
        };
        EXPECT_EQ(run<OrmuMessageBox>(box, clickButton), expected);
    }
}

TEST(MessageBox, IgnoresOtherKeysAndTaps)
{
    Box box;
    box.show();
    for (const Qt::Key key : {Qt::Key_F2, Qt::Key_A, Qt::Key_Up, Qt::Key_Down, Qt::Key_Tab})
        press(key);
    clickAt(&box, QPoint(4, 4));
    clickAt(&box, box.rect().center());
    EXPECT_EQ(open<OrmuMessageBox>(), &box);
}

TEST(MessageBox, ReturnsNoButtonWhenItIsHiddenOrDeleted)
{
    Box box;
    EXPECT_EQ(run<OrmuMessageBox>(box, [](OrmuMessageBox& open) { open.hide(); }), -1);
    EXPECT_EQ(run<OrmuMessageBox>(*new Box, [](OrmuMessageBox& open) { delete &open; }), -1);
}

TEST(MessageBox, ShowsItsIconAndItsText)
{
    const QPixmap icon = RES_ICON_Reader().getIcon("Dialog_Question_Mark.jpg");
    const QString text = "Incorrect profile\nfailed to connect to server <b>&amp; &more</b>";
    OrmuMessageBox box(nullptr, icon, text, "OK", NONE, NONE, 1);
    box.show();
    EXPECT_EQ(box.text(), text);
    EXPECT_EQ(box.iconPixmap().cacheKey(), icon.cacheKey());
    EXPECT_FALSE(box.findChild<QTextEdit*>()->verticalScrollBar()->isVisible());
}

TEST(MessageBox, ScrollsALongTextByTheArrows)
{
    Box box({"OK"}, QString("many words ").repeated(300));
    box.show();
    const auto* bar = box.findChild<QTextEdit*>()->verticalScrollBar();
    EXPECT_TRUE(bar->isVisible());
    press(Qt::Key_Down);
    EXPECT_GT(bar->value(), 0);
    press(Qt::Key_Up);
    EXPECT_EQ(bar->value(), 0);
}

TEST(MessageBox, InformationWaitsForItsAnswer)
{
    const auto answer = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) {
        EXPECT_EQ(box.text(), "Some required value is not input, input again.");
        press(Qt::Key_F2);
    });
    EXPECT_EQ(OrmuMessageBox::information(nullptr, OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark"),
                                          "Some required value is not input, input again.", "OK", NONE, NONE,
                                          1),
              0);
    EXPECT_EQ(open<OrmuMessageBox>(), nullptr);
}

TEST(MessageBox, InformationSurvivesTheDeletionOfItsParent)
{
    auto* screen = new OrmuMainWidget;
    screen->show();
    const auto answer = onceOpen<OrmuMessageBox>([screen](OrmuMessageBox&) { delete screen; });
    EXPECT_EQ(OrmuMessageBox::information(screen, QPixmap(), "text", "OK", NONE, NONE, 1), -1);
}

TEST(MessageBox, ClosesANoticeByItself)
{
    EXPECT_GE(durationOf([] {
                  OrmuMessageBox::timerMessage(nullptr, QPixmap(), "connect to server successfully", 1, 1);
              }),
              OrmuMessageBox::NOTICE_MS * 9 / 10); // a coarse timer's
    EXPECT_GE(durationOf([] { EXPECT_EQ(serviceNotice(), -1); }), 5000);
}

TEST(MessageBox, DimsTheScreensOnce)
{
    OrmuMainWidget screen;
    screen.show();
    UTIL_ProgressDialog below("Connecting...", "Cancel", 10, &screen);
    below.show();
    const auto colorAt = [](const QPoint& place) {
        return OrmuPhoneWindow::instance()->picture().toImage().pixelColor(place);
    };
    const QPoint beside(3, 3);
    const QPoint inPanel = OrmuGlobal::getDlgSmallR().topLeft() + QPoint(3, 3);
    const QColor besideBefore = colorAt(beside);
    const QColor panelBefore = colorAt(inPanel);
    EXPECT_LT(besideBefore.lightness(), OrmuStyle::screenColor().lightness());
    OrmuBaseDialog notice; // its panel leaves the one below visible
    notice.findChild<QWidget*>()->setGeometry(20, 5, 200, 60);
    notice.show();
    EXPECT_EQ(colorAt(beside), besideBefore);
    EXPECT_LT(colorAt(inPanel).lightness(), panelBefore.lightness());
    OrmuMainWidget bright; // over both
    bright.show();
    OrmuBaseDialog last;
    last.show();
    EXPECT_EQ(colorAt(beside), besideBefore);
}

TEST(MessageBox, ClosesANoticeByAnyKeyOrTap)
{
    const auto expectToEndBy = [&](const std::function<void(OrmuMessageBox&)>& act) {
        const auto answer = onceOpen<OrmuMessageBox>([&](OrmuMessageBox& box) {
            act(box);
            EXPECT_FALSE(box.isVisible());
        });
        OrmuMessageBox::timerMessage(nullptr, QPixmap(), "notice", 1, 1);
    };
    for (const Qt::Key key : {Qt::Key_F1, Qt::Key_Escape, Qt::Key_A, Qt::Key_Up, Qt::Key_Return})
        expectToEndBy([key](OrmuMessageBox&) { press(key); });
    for (const QPoint place : {QPoint(3, 3), OrmuGlobal::getDlgLargeR().center(), QPoint(10, 300)})
        expectToEndBy([place](OrmuMessageBox& box) { clickAt(&box, place); });
}

TEST(MessageBox, ReturnsTheButtonOfANotice)
{
    for (const auto& [key, button] : {std::pair(Qt::Key_F2, 0), {Qt::Key_Return, 0}, {Qt::Key_A, -1}}) {
        const auto answer = onceOpen<OrmuMessageBox>([key = key](OrmuMessageBox&) { press(key); });
        EXPECT_EQ(serviceNotice(), button) << key;
    }
}

TEST(ProgressDialog, CountsToItsTotalAndStartsAgain)
{
    UTIL_ProgressDialog dialog("", "Cancel", 10);
    dialog.setAutoReset(true);
    dialog.setLabelText("Connecting...");
    dialog.show();
    const auto* bar = dialog.findChild<QProgressBar*>();
    for (int step = 1; step < 10; ++step) {
        dialog.setProgress(dialog.progress() + 1);
        EXPECT_EQ(dialog.progress(), step);
        EXPECT_EQ(bar->value(), step);
    }
    dialog.setProgress(10);
    EXPECT_EQ(dialog.progress(), 0);
    EXPECT_EQ(bar->value(), 10);
    dialog.setProgress(dialog.progress() + 1);
    EXPECT_EQ(bar->value(), 1);
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.labelText(), "Connecting...");
}

TEST(ProgressDialog, StaysAtItsTotalWithoutAutoReset)
{
    UTIL_ProgressDialog dialog("", "Cancel", 10);
    dialog.setProgress(12);
    EXPECT_EQ(dialog.progress(), 10);
    dialog.setProgress(-3);
    EXPECT_EQ(dialog.progress(), 0);
}

TEST(ProgressDialog, IsCancelledOnceByEachPressAndStaysOpen)
{
    OrmuMainWidget screen;
    screen.show();
    UTIL_ProgressDialog dialog("Connecting...", "Cancel", 10, &screen);
    EXPECT_EQ(dialog.parentWidget(), &screen);
    dialog.show();
    const QSignalSpy cancelled(&dialog, &UTIL_ProgressDialog::cancelled);
    press(Qt::Key_F3);
    EXPECT_EQ(cancelled.size(), 1);
    press(Qt::Key_Escape);
    EXPECT_EQ(cancelled.size(), 2);
    click(dialog.findChild<UTIL_CST*>()->getRightBtn());
    EXPECT_EQ(cancelled.size(), 3);
    press(Qt::Key_Return);
    press(Qt::Key_F1);
    press(Qt::Key_F2);
    EXPECT_EQ(cancelled.size(), 3);
    EXPECT_TRUE(dialog.isVisible());
}

TEST(ProgressDialog, SurvivesItsDeletionByCancel)
{
    const auto cancelBy = [](const std::function<void(UTIL_ProgressDialog&)>& act) {
        OrmuMainWidget screen;
        screen.show();
        QPointer<UTIL_ProgressDialog> dialog = new UTIL_ProgressDialog("", "Cancel", 10, &screen);
        QObject::connect(dialog, &UTIL_ProgressDialog::cancelled, [dialog] { delete dialog; });
        dialog->show();
        act(*dialog);
        EXPECT_TRUE(dialog.isNull());
        EXPECT_EQ(open<OrmuMainWidget>(), &screen);
    };
    cancelBy([](UTIL_ProgressDialog&) { press(Qt::Key_Escape); });
    cancelBy([](UTIL_ProgressDialog&) { press(Qt::Key_F3); });
    cancelBy([](UTIL_ProgressDialog& dialog) { click(dialog.findChild<UTIL_CST*>()->getRightBtn()); });
}

TEST(ProgressDialog, IsDeletedWithItsParent)
{
    OrmuMainWidget behind;
    behind.show();
    auto* screen = new OrmuMainWidget;
    screen->show();
    const QPointer<UTIL_ProgressDialog> dialog = new UTIL_ProgressDialog("", "Cancel", 10, screen);
    dialog->show();
    EXPECT_EQ(dialog->mapTo(OrmuPhoneWindow::instance(), QPoint()), QPoint());
    delete screen;
    EXPECT_TRUE(dialog.isNull());
    EXPECT_EQ(open<OrmuMainWidget>(), &behind);
}
