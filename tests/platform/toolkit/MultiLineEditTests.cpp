// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuMultiLineEdit.h"
#include "ToolkitTest.h"

#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>

using ScreenDriver::type;

namespace {

struct Entry : TestScreen
{
    Entry() : TestScreen(true)
    {
        content()->addChild(edit, 0, 0);
        show();
    }

    void paste(const QString& text) const
    {
        QGuiApplication::clipboard()->setText(text);
        press(Qt::Key_V, Qt::ControlModifier);
    }

    void drop(const QString& text) const
    {
        QMimeData data;
        data.setText(text);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(edit, &enter);
        QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(edit, &event);
    }

    OrmuMultiLineEdit* edit = new OrmuMultiLineEdit(content(), true, 1);
};

} // namespace

TEST(MultiLineEdit, HasTheSizeOfOneLine)
{
    const Entry entry;
    EXPECT_EQ(entry.edit->geometry(), QRect(0, 0, 220, 30));
}

TEST(MultiLineEdit, InsertsALineAtTheEndOrTheBeginning)
{
    const Entry entry;
    entry.edit->insertLine("50", -1);
    entry.edit->insertLine("60", -1);
    EXPECT_EQ(entry.edit->text(), "5060");
    entry.edit->insertLine("1", 0);
    EXPECT_EQ(entry.edit->text(), "15060");
}

TEST(MultiLineEdit, SignalsEveryChange)
{
    const Entry entry;
    const QSignalSpy changed(entry.edit, &OrmuMultiLineEdit::textChanged);
    entry.edit->insertLine("a");
    EXPECT_EQ(changed.size(), 1);
    press(Qt::Key_End);
    type("bc");
    EXPECT_EQ(changed.size(), 3);
    press(Qt::Key_Backspace);
    EXPECT_EQ(changed.size(), 4);
    EXPECT_EQ(entry.edit->text(), "ab");
}

TEST(MultiLineEdit, HasTheSignalOfTheOlderName)
{
    EXPECT_GE(OrmuMultiLineEdit::staticMetaObject.indexOfSignal("textChanged()"),
              OrmuMultiLineEdit::staticMetaObject.methodOffset());
}

TEST(MultiLineEdit, FiltersTypedPastedAndDroppedText)
{
    const Entry entry;
    entry.edit->setFilter(QRegExp("[0-9]", true, false), true);
    type("5a0");
    EXPECT_EQ(entry.edit->text(), "50");
    entry.paste("x6y0z");
    EXPECT_EQ(entry.edit->text(), "5060");
    press(Qt::Key_Home);
    entry.paste("q1");
    type("2");
    EXPECT_EQ(entry.edit->text(), "125060");
    entry.edit->clear();
    entry.drop("-7 8");
    EXPECT_EQ(entry.edit->text(), "78");
}

TEST(MultiLineEdit, SignalsNoChangeThatTheFilterUndoes)
{
    const Entry entry;
    entry.edit->setFilter(QRegExp("[0-9]"), true);
    entry.edit->insertLine("5060");
    const QSignalSpy changed(entry.edit, &OrmuMultiLineEdit::textChanged);
    press(Qt::Key_End);
    type("abc");
    EXPECT_EQ(entry.edit->text(), "5060");
    EXPECT_EQ(changed.size(), 0);
}

TEST(MultiLineEdit, InsertsTheProgramsTextUnfiltered)
{
    const Entry entry;
    entry.edit->setFilter(QRegExp("[0-9]"), true);
    entry.edit->insertLine("-1");
    EXPECT_EQ(entry.edit->text(), "-1");
    entry.edit->clear();
    entry.edit->insertLine("two\nlines");
    EXPECT_EQ(entry.edit->text(), "two\nlines");
}

TEST(MultiLineEdit, TakesInvertedAndWildcardFilters)
{
    const Entry entry;
    entry.edit->setFilter(QRegExp("[a-z]", false), false);
    type("a1B2");
    EXPECT_EQ(entry.edit->text(), "12");
    entry.edit->clear();
    entry.edit->setFilter(QRegExp("?", true, true), true);
    type("a.1");
    EXPECT_EQ(entry.edit->text(), "a.1");
}

TEST(MultiLineEdit, TakesNoLineBreak)
{
    const Entry entry;
    entry.paste(QString::fromUtf8("one\r\ntwo\u2028three\tfour"));
    EXPECT_EQ(entry.edit->text(), "onetwothreefour");
    press(Qt::Key_Return);
    EXPECT_EQ(entry.edit->text(), "onetwothreefour");
    entry.edit->clear();
    entry.drop("a\nb");
    EXPECT_EQ(entry.edit->text(), "ab");
}

TEST(MultiLineEdit, MasksAPassword)
{
    const Entry entry;
    entry.edit->setEchoMode(OrmuMultiLineEdit::Password);
    EXPECT_EQ(static_cast<int>(OrmuMultiLineEdit::Password), 2);
    type("secret");
    EXPECT_EQ(entry.edit->text(), "secret");
    EXPECT_EQ(entry.edit->displayText(), QString(6, entry.edit->displayText().at(0)));
    EXPECT_NE(entry.edit->displayText().at(0), 's');
}

TEST(MultiLineEdit, TakesTenThousandCharacters)
{
    const Entry entry;
    const QString text = QString("0123456789").repeated(1000);
    entry.paste(text);
    EXPECT_EQ(entry.edit->text(), text);
    entry.edit->clear();
    entry.edit->insertLine(text);
    press(Qt::Key_End);
    type("x");
    EXPECT_EQ(entry.edit->text(), text + "x");
}

TEST(MultiLineEdit, TakesEveryScript)
{
    const Entry entry;
    const QString text = QString::fromUtf8("עברית العربية 日本語 \U0001F600");
    type(text);
    EXPECT_EQ(entry.edit->text(), text);
}
