#include "OrmuGlobal.h"
#include "OrmuMessageBox.h"
#include "OrmuPushButton.h"
#include "OrmuSkin.h"
#include "RES_ICON_Reader.h"
#include "ScreenDriver.h"
#include "UTIL_Dialog.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"
#include "UTIL_ProgressDialog.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace ScreenDriver;

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

int ask(const QString& button0, const QString& button1, const QString& button2)
{
    OrmuMessageBox box(nullptr, QPixmap(), "Delete the profile?", button0, button1, button2, 1);
    return box.exec();
}

int answerTo(const QString& button0, const QString& button1, const QString& button2, Qt::Key key)
{
    const auto answer = onceOpen<OrmuMessageBox>([key](OrmuMessageBox&) { press(key); });
    return ask(button0, button1, button2);
}

} // namespace

TEST(Dialog, HasAContentAsLargeAsTheDialogsRectangle)
{
    Dialog dialog;
    dialog.show();
    EXPECT_EQ(dialog.getDlgContent()->geometry(), OrmuGlobal::getDlgLargeR());
    EXPECT_EQ(dialog.size(), OrmuGlobal::getScreenSize());
    EXPECT_EQ(dialog.window(), OrmuPhoneWindow::instance());
}

TEST(Dialog, IsAcceptedAndRejectedByKeysAndPointer)
{
    Dialog dialog;
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        const auto answer = onceOpen<Dialog>([key](Dialog&) { press(key); });
        EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    }
    {
        const auto answer = onceOpen<Dialog>([](Dialog&) { press(Qt::Key_F1); });
        EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    }
    {
        const auto answer = onceOpen<Dialog>([](Dialog& open) { click(open.bar->getBtn1()); });
        EXPECT_EQ(dialog.exec(), QDialog::Accepted);
    }
    const auto answer = onceOpen<Dialog>([](Dialog& open) { click(open.bar->getBtn2()); });
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
}

TEST(Dialog, SurvivesItsDeletionByItsOwnSoftKeyAndIsThenRejected)
{
    const auto deleteBy = [](const std::function<void(Dialog&)>& act) {
        QPointer<Dialog> dialog = new Dialog;
        QObject::connect(dialog->bar->getBtn1(), &QPushButton::clicked, [dialog] { delete dialog; });
        dialog->bar->getBtn1()->disconnect(dialog);
        const auto answer = onceOpen<Dialog>(act);
        EXPECT_EQ(dialog->exec(), QDialog::Rejected);
        EXPECT_TRUE(dialog.isNull());
    };
    deleteBy([](Dialog&) { press(Qt::Key_F1); });
    deleteBy([](Dialog& open) { click(open.bar->getBtn1()); });
    deleteBy([](Dialog& open) { delete &open; });
}

TEST(MessageBox, AnswersWithTheIndexOfThePressedButton)
{
    EXPECT_EQ(answerTo("OK", "Cancel", NONE, Qt::Key_F1), 0);
    EXPECT_EQ(answerTo("OK", "Cancel", NONE, Qt::Key_Return), 0);
    EXPECT_EQ(answerTo("OK", "Cancel", NONE, Qt::Key_F3), 1);
    EXPECT_EQ(answerTo("OK", "Cancel", NONE, Qt::Key_Escape), 1);
    EXPECT_EQ(answerTo("Yes", "No", "Later", Qt::Key_F2), 1);
    EXPECT_EQ(answerTo("Yes", "No", "Later", Qt::Key_Escape), 2);
    for (const Qt::Key key : {Qt::Key_F1, Qt::Key_F2, Qt::Key_F3, Qt::Key_Escape, Qt::Key_Return})
        EXPECT_EQ(answerTo("OK", NONE, NONE, key), 0);
}
