// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "ToolkitTest.h"

#include <QAbstractEventDispatcher>
#include <QCheckBox>
#include <QKeyEvent>
#include <QWindow>

using ScreenDriver::phone;

namespace {

constexpr int REPEATS = 5;

// The forms of a key's repeats.
enum class Repeats {
    MARKED,         // presses and releases with the repeat flag
    UNMARKED_PAIRS, // like an X server: a release and a press with one timestamp, without the flag
    PRESSES,        // presses without releases, without the flag
};
constexpr Repeats ALL_REPEATS[] = {Repeats::MARKED, Repeats::UNMARKED_PAIRS, Repeats::PRESSES};

std::string nameOf(const testing::TestParamInfo<Repeats>& info)
{
    switch (info.param) {
    case Repeats::MARKED:
        return "Marked";
    case Repeats::UNMARKED_PAIRS:
        return "UnmarkedPairs";
    default:
        return "PressesAlone";
    }
}

// A keyboard that sends to the phone's window.
class Keyboard
{
public:
    explicit Keyboard(Repeats repeats) : repeats_(repeats) {}

    void down(Qt::Key key, const QString& text = QString()) { send(QEvent::KeyPress, key, text); }
    void up(Qt::Key key) { send(QEvent::KeyRelease, key, QString()); }

    void repeat(Qt::Key key, const QString& text = QString())
    {
        for (int i = 0; i < REPEATS; ++i) {
            now += 40;
            if (repeats_ != Repeats::PRESSES)
                send(QEvent::KeyRelease, key, QString(), repeats_ == Repeats::MARKED, 0);
            send(QEvent::KeyPress, key, text, repeats_ == Repeats::MARKED, 0);
        }
    }

    void hold(Qt::Key key, const QString& text = QString())
    {
        down(key, text);
        repeat(key, text);
        up(key);
    }

private:
    void send(QEvent::Type type, Qt::Key key, const QString& text, bool marked = false, int later = 300)
    {
        now += static_cast<quint64>(later);
        const quint32 scanCode = repeats_ == Repeats::PRESSES ? 0 : 1 + key % 200;
        QKeyEvent event(type, key, Qt::NoModifier, scanCode, 0, 0, text, marked);
        event.setTimestamp(now);
        QCoreApplication::sendEvent(phone(), &event);
    }

    const Repeats repeats_;
    quint64 now = 1000;
};

class HeldKey : public testing::TestWithParam<Repeats>
{
protected:
    UTIL_ListBox* addList(int rows) const
    {
        UTIL_ListBox* list = screen.addList("%T", rows);
        screen.show();
        return list;
    }

    const TestScreen screen;
    Keyboard keyboard{GetParam()};
};

class HeldKeyInForm : public HeldKey
{
protected:
    HeldKeyInForm()
    {
        form.content()->addChild(check, 0, 30);
        form.content()->addChild(entry, 0, 90);
        form.show();
        EXPECT_TRUE(check->hasFocus());
    }

    const TestScreen form{true};
    QCheckBox* check = new QCheckBox("Remember", form.content());
    OrmuMultiLineEdit* entry = new OrmuMultiLineEdit(form.content(), true, 1);
};

} // namespace

TEST_P(HeldKey, PressesASoftKeyOnceUntilItIsReleased)
{
    screen.show();
    const std::pair<Qt::Key, const QSignalSpy*> keys[] = {{Qt::Key_F1, &screen.left},
                                                          {Qt::Key_F2, &screen.middle},
                                                          {Qt::Key_F3, &screen.right},
                                                          {Qt::Key_Escape, &screen.right}};
    for (const auto& [key, clicked] : keys) {
        const qsizetype before = clicked->size();
        keyboard.hold(key);
        EXPECT_EQ(clicked->size(), before + 1) << key;
        keyboard.hold(key);
        EXPECT_EQ(clicked->size(), before + 2) << key;
    }
}

TEST_P(HeldKey, ClicksARowOnceAndOpensItsMenuOnce)
{
    auto* list = addList(3);
    const QSignalSpy clicked(list, &QListBox::mouseButtonClicked);
    const QSignalSpy right(list, &QListBox::rightButtonPressed);
    keyboard.hold(Qt::Key_Return);
    EXPECT_EQ(clicked.size(), 1);
    keyboard.hold(Qt::Key_Menu);
    EXPECT_EQ(right.size(), 1);
    keyboard.hold(Qt::Key_F4);
    EXPECT_EQ(right.size(), 2);
    EXPECT_EQ(clicked.size(), 1);
}

TEST_P(HeldKeyInForm, ChangesACheckBoxOnce)
{
    const QSignalSpy clicked(check, &QCheckBox::clicked);
    keyboard.hold(Qt::Key_Return, "\r");
    EXPECT_EQ(clicked.size(), 1);
    keyboard.hold(Qt::Key_Space, " ");
    EXPECT_EQ(clicked.size(), 2);
}

// Like "Delete Profile": a row's menu, its entry, a question.
TEST_P(HeldKey, DoesNotRunThroughAMenuAndItsQuestion)
{
    auto* list = addList(3);
    QList<int> answers;
    QObject::connect(list, &QListBox::rightButtonPressed, list, [&](QListBoxItem*, const QPoint& pos) {
        auto* menu = new QPopupMenu(list);
        menu->insertItem("Delete Profile", 2);
        QObject::connect(menu, &QPopupMenu::activated, list, [&] {
            answers += OrmuMessageBox::information(nullptr, QPixmap(), "Delete?", "OK", "Cancel", "", 1);
        });
        menu->exec(pos, 0);
    });
    for (const Qt::Key answer : {Qt::Key_Return, Qt::Key_Escape}) {
        answers.clear();
        const auto inMenu = onceOpen<QPopupMenu>([&](QPopupMenu& menu) {
            const QPointer<QPopupMenu> open = &menu;
            keyboard.repeat(Qt::Key_F4);
            EXPECT_TRUE(!open.isNull() && open->isVisible());
            keyboard.up(Qt::Key_F4);
            const auto inQuestion = onceOpen<OrmuMessageBox>([&](OrmuMessageBox& box) {
                const QPointer<OrmuMessageBox> question = &box;
                keyboard.repeat(Qt::Key_Return);
                keyboard.up(Qt::Key_Return);
                EXPECT_TRUE(!question.isNull() && question->isVisible());
                EXPECT_TRUE(answers.isEmpty());
                keyboard.hold(answer);
            });
            keyboard.down(Qt::Key_Return);
        });
        keyboard.down(Qt::Key_F4);
        EXPECT_EQ(answers, QList<int>{answer == Qt::Key_Return ? 0 : 1});
    }
}

TEST_P(HeldKey, OpensTheMenuOfASoftKeyAndDoesNotChoose)
{
    QPopupMenu menu(screen.widget);
    menu.insertItem("New Profile", 0);
    screen.bar->getLeftBtn()->setPopup(&menu);
    screen.show();
    const QSignalSpy activated(&menu, &QPopupMenu::activated);
    keyboard.hold(Qt::Key_F1);
    EXPECT_TRUE(menu.isVisible());
    EXPECT_EQ(activated.size(), 0);
    keyboard.hold(Qt::Key_F1);
    EXPECT_FALSE(menu.isVisible());
    EXPECT_EQ(activated.size(), 1);
}

TEST_P(HeldKey, MovesThroughTheRowsOfAList)
{
    auto* list = addList(20);
    keyboard.hold(Qt::Key_Down);
    EXPECT_EQ(list->currentItem(), 1 + REPEATS);
    keyboard.hold(Qt::Key_Up);
    EXPECT_EQ(list->currentItem(), 0);
}

TEST_P(HeldKeyInForm, TypesIntoAnEntryAndDeletesThere)
{
    entry->setFocus();
    keyboard.hold(Qt::Key_A, "a");
    EXPECT_EQ(entry->text(), QString(1 + REPEATS, 'a'));
    keyboard.hold(Qt::Key_Space, " ");
    EXPECT_EQ(entry->text(), QString(1 + REPEATS, 'a') + QString(1 + REPEATS, ' '));
    keyboard.hold(Qt::Key_Backspace, "\b");
    EXPECT_EQ(entry->text(), QString(1 + REPEATS, 'a'));
}

TEST_P(HeldKeyInForm, TypesNothingIntoAnEntryFocusedLater)
{
    keyboard.down(Qt::Key_Space, " ");
    entry->setFocus();
    keyboard.repeat(Qt::Key_Space, " ");
    keyboard.up(Qt::Key_Space);
    EXPECT_EQ(entry->text(), "");
    keyboard.hold(Qt::Key_Space, " ");
    EXPECT_EQ(entry->text(), QString(1 + REPEATS, ' '));
}

TEST_P(HeldKey, SendsNoReleaseToADialogOpenedMeanwhile)
{
    class Dialog : public OrmuBaseDialog
    {
    public:
        QList<int> released;

    protected:
        void keyReleaseEvent(QKeyEvent* event) override { released += event->key(); }
    };
    addList(1);
    keyboard.down(Qt::Key_Space, " ");
    Dialog dialog;
    dialog.show();
    keyboard.repeat(Qt::Key_Space, " ");
    keyboard.up(Qt::Key_Space);
    EXPECT_EQ(dialog.released, QList<int>());
    keyboard.down(Qt::Key_Space, " ");
    keyboard.up(Qt::Key_Space);
    EXPECT_EQ(dialog.released, QList<int>{Qt::Key_Space});
}

TEST_P(HeldKey, DismissesNoNotice)
{
    addList(20);
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Return, Qt::Key_F1}) {
        keyboard.down(key);
        const auto notice = onceOpen<OrmuMessageBox>([&](OrmuMessageBox& box) {
            keyboard.repeat(key);
            keyboard.up(key);
            EXPECT_TRUE(box.isVisible()) << key;
            keyboard.hold(key);
        });
        OrmuMessageBox::timerMessage(nullptr, QPixmap(), "notice", 1, 1);
    }
}

TEST_P(HeldKey, IsForgottenWhenThePhoneBecomesInactive)
{
    auto* list = addList(3);
    const QSignalSpy clicked(list, &QListBox::mouseButtonClicked);
    keyboard.down(Qt::Key_Return);
    emit qApp->applicationStateChanged(Qt::ApplicationInactive); // its release goes elsewhere
    keyboard.down(Qt::Key_Return);
    EXPECT_EQ(clicked.size(), 2);
    keyboard.up(Qt::Key_Return);
}

// An X server sends the release to the window of the menu that the press has closed.
class LostRelease : public testing::Test
{
protected:
    static void send(QEvent::Type type, quint64 time)
    {
        QKeyEvent event(type, Qt::Key_F1, Qt::NoModifier, KEY_CODE, 0, 0);
        event.setTimestamp(time);
        QCoreApplication::sendEvent(phone(), &event);
    }

    static void press(quint64 time) { send(QEvent::KeyPress, time); }

    static void releaseUnseen(quint32 time)
    {
        struct
        {
            quint8 type = 3;
            quint8 keyCode = KEY_CODE;
            quint16 sequence = 0;
            quint32 time;
        } event = {.time = time};
        qintptr result = 0;
        QAbstractEventDispatcher::instance()->filterNativeEvent("xcb_generic_event_t", &event, &result);
    }

    LostRelease() { screen.show(); }
    ~LostRelease() override { send(QEvent::KeyRelease, 2000); }

    static constexpr quint8 KEY_CODE = 67;
    const TestScreen screen;
};

TEST_F(LostRelease, EndsTheHoldOfTheKey)
{
    press(1000);
    releaseUnseen(1100);
    press(1300);
    EXPECT_EQ(screen.left.size(), 2);
}

TEST_F(LostRelease, IsRepeatedByAPressAtItsTime)
{
    press(1000);
    releaseUnseen(1660);
    press(1660);
    EXPECT_EQ(screen.left.size(), 1);
}

INSTANTIATE_TEST_SUITE_P(Repeats, HeldKey, testing::ValuesIn(ALL_REPEATS), nameOf);
INSTANTIATE_TEST_SUITE_P(Repeats, HeldKeyInForm, testing::ValuesIn(ALL_REPEATS), nameOf);
