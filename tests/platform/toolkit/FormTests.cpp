// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMultiLineEdit.h"
#include "OrmuStyle.h"
#include "ToolkitTest.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QScrollBar>

#include <algorithm>

namespace {

// Four text entries, a combo box and a check box: twice as high as the screen.
struct Form : TestScreen
{
    QList<OrmuMultiLineEdit*> entries;
    QComboBox* combo = nullptr;
    QCheckBox* check = nullptr;

    Form() : TestScreen(true)
    {
        for (int i = 0; i < 4; ++i) {
            entries += new OrmuMultiLineEdit(content(), true, 1);
            content()->addChild(entries.last(), 0, 120 * i);
        }
        combo = new QComboBox(content());
        combo->addItems({"internet", "office", "home"});
        content()->addChild(combo, 0, 480);
        check = new QCheckBox("Auto connect when power on", content());
        check->setGeometry(0, 540, 220, 60);
        content()->addChild(check, 0, 540);
        show();
    }

    // Scrolls the form until so many pixels below y show at the bottom.
    void scrollTo(int y, int shown) const
    {
        content()->verticalScrollBar()->setValue(y + shown - content()->viewport()->height());
    }

    QWidgetList all() const
    {
        QWidgetList widgets;
        for (OrmuMultiLineEdit* entry : entries)
            widgets += entry;
        return widgets << combo << check;
    }

    // Opens the list of the combo box on its first entry.
    void openList() const
    {
        combo->setCurrentIndex(0);
        combo->setFocus();
        press(Qt::Key_Return);
        EXPECT_TRUE(waitForList(true));
    }
    bool waitForList(bool open) const
    {
        return waitFor([this, open] { return combo->view()->isVisible() == open; });
    }

    bool shows(const QWidget* part) const
    {
        const QRect place(part->mapTo(content()->viewport(), QPoint()), part->size());
        return content()->viewport()->rect().contains(place);
    }
};

// The number of pixels of the focus colour in a widget's picture.
int focusPixels(QWidget* widget)
{
    return countPixels(widget->grab().toImage(), widget->rect(),
                       [](const QColor& color) { return color == OrmuStyle::focusColor(); });
}

} // namespace

TEST(Form, MovesTheFocusFromEntryToEntryAndShowsIt)
{
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Tab}) {
        const Form form;
        for (int round = 0; round < 2; ++round) {
            for (QWidget* widget : form.all()) {
                EXPECT_EQ(QApplication::focusWidget(), widget);
                EXPECT_TRUE(form.shows(widget));
                press(key);
            }
        }
    }
}

TEST(Form, MovesTheFocusUpwardsAndAround)
{
    const Form form;
    QWidgetList upwards = form.all();
    std::reverse(upwards.begin(), upwards.end());
    for (const QWidget* widget : upwards) {
        press(Qt::Key_Up);
        EXPECT_EQ(QApplication::focusWidget(), widget);
    }
    EXPECT_EQ(form.combo->currentIndex(), 0) << "changed by a key that moves the focus";
}

TEST(Form, ShowsAHalfHiddenEntryThatGetsTheFocus)
{
    const Form form;
    form.entries[2]->setFocus();
    form.scrollTo(120 * 3, 22);
    EXPECT_FALSE(form.shows(form.entries[3]));
    press(Qt::Key_Down);
    EXPECT_TRUE(form.shows(form.entries[3]));
}

TEST(Form, ScrollsAnEntryThatIsClickedIntoView)
{
    const Form form;
    form.scrollTo(120 * 3, 15);
    EXPECT_FALSE(form.shows(form.entries[3]));
    clickAt(form.entries[3], QPoint(50, 8));
    EXPECT_TRUE(form.entries[3]->hasFocus());
    EXPECT_TRUE(waitFor([&] { return form.shows(form.entries[3]); }));
}

TEST(Form, ChecksAHalfShownCheckBoxByOneClick)
{
    const Form form;
    form.scrollTo(540, 20);
    clickAt(form.check, QPoint(10, 10));
    EXPECT_TRUE(form.check->isChecked());
}

TEST(Form, NeverScrollsSideways)
{
    const Form form;
    EXPECT_EQ(form.combo->size(), QSize(220, 30));
    for (int i = 0; i < 6; ++i) {
        press(Qt::Key_Down);
        EXPECT_EQ(form.content()->horizontalScrollBar()->value(), 0);
    }
}

TEST(Form, ChoosesFromAComboBoxByKeysAlone)
{
    const std::pair<Qt::Key, int> keys[] = {
        {Qt::Key_Return, 1}, {Qt::Key_F1, 1}, {Qt::Key_F2, 1}, {Qt::Key_Escape, 0}, {Qt::Key_F3, 0}};
    const Form form;
    for (const auto& [key, chosen] : keys) {
        form.openList();
        press(Qt::Key_Down);
        press(key);
        EXPECT_TRUE(form.waitForList(false));
        EXPECT_EQ(form.combo->currentIndex(), chosen) << key;
    }
    EXPECT_TRUE(form.combo->hasFocus());
    EXPECT_EQ(form.left.size() + form.middle.size() + form.right.size(), 0);
}

TEST(Form, OpensTheListOfAComboBoxBesideItOnThePhone)
{
    const Form form;
    OrmuPhoneWindow* phone = OrmuPhoneWindow::instance();
    phone->move(300, 200);
    const QRect content(phone->mapToGlobal(QPoint()), OrmuGlobal::getContentR().size());
    for (const bool low : {false, true}) {
        if (low)
            form.scrollTo(480, 30);
        else
            form.content()->verticalScrollBar()->setValue(480 - 40);
        const QRect box(form.combo->mapToGlobal(QPoint()), form.combo->size());
        form.openList();
        const QRect list = form.combo->view()->window()->geometry();
        EXPECT_TRUE(content.contains(list)) << low;
        EXPECT_FALSE(box.intersects(list)) << low;
        press(Qt::Key_Escape);
    }
    phone->move(0, 0);
}

TEST(Form, ShowsTheSoftKeysOfTheListOfAComboBox)
{
    const Form form;
    const UTIL_CST* bar = popupSoftKeys();
    ASSERT_NE(bar, nullptr);
    for (const bool choose : {true, false}) {
        form.openList();
        ASSERT_TRUE(bar->isVisible());
        EXPECT_EQ(bar->getLeftBtn()->text(), "Select");
        EXPECT_EQ(bar->getRightBtn()->text(), "Cancel");
        press(Qt::Key_Down);
        click(choose ? bar->getLeftBtn() : bar->getRightBtn());
        EXPECT_TRUE(form.waitForList(false));
        EXPECT_FALSE(bar->isVisible());
        EXPECT_EQ(form.combo->currentIndex(), choose ? 1 : 0);
    }
}

TEST(Form, CutsTheTextOfALabelAtItsEnd)
{
    const TestScreen screen;
    const auto pictureOf = [&](const QString& text) {
        auto* label = new QLabel(text, screen.content());
        label->setTextFormat(Qt::PlainText);
        label->resize(220, 30);
        screen.content()->addChild(label, 0, 0);
        return label->grab().toImage();
    };
    const auto inkIn = [](const QImage& picture, const QRect& part) {
        return countPixels(picture, part, [](const QColor& color) { return color.lightness() < 128; });
    };
    const QString words = "Profile name: one two three four five six ";
    const QString word(400, 'j');
    const QImage two = pictureOf("Profile name:" + word.left(30));
    for (const QString& text : {words.repeated(9), word, QString("one\ntwo\nthree\nfour\nfive")}) {
        const QImage picture = pictureOf(text);
        EXPECT_EQ(inkIn(picture, QRect(0, 0, 220, 1)), 0) << qPrintable(text);
        EXPECT_EQ(inkIn(picture, QRect(0, 29, 220, 1)), 0) << qPrintable(text);
        EXPECT_GT(inkIn(picture, QRect(0, 2, 220, 13)), 20) << qPrintable(text);
        EXPECT_GT(inkIn(picture, QRect(0, 15, 220, 13)), 20) << qPrintable(text);
    }
    EXPECT_GT(inkIn(two, two.rect()), 40);
    // An ellipsis stands in place of the end.
    const QImage cut = pictureOf(words.repeated(2));
    EXPECT_EQ(cut.copy(0, 2, 220, 13), pictureOf(words.repeated(3)).copy(0, 2, 220, 13));
    bool hasEllipsis = false;
    for (qsizetype length = 1; length < words.size() * 2; ++length) {
        const QString beginning = words.repeated(2).left(length);
        const QImage shortened = pictureOf(beginning + QChar(0x2026));
        hasEllipsis |= shortened == cut && shortened != pictureOf(beginning);
    }
    EXPECT_TRUE(hasEllipsis);
}

TEST(Form, MarksTheFocusByTwoPixelsAroundTheEntry)
{
    const Form form;
    for (QWidget* widget : form.all()) {
        form.entries.first()->setFocus();
        if (widget == form.entries.first())
            form.combo->setFocus();
        const int without = focusPixels(widget);
        widget->setFocus();
        EXPECT_GE(focusPixels(widget) - without, 2 * 2 * 200) << widget->metaObject()->className();
    }
}
