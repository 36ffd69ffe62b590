// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef PHONEFIXTURE_H
#define PHONEFIXTURE_H

#include "HomeScreen.h"
#include "MessageBoxes.h"
#include "OrmuMessageBox.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"
#include "UTIL_Dialog.h"
#include "UTIL_ListBox.h"

#include <vector>

// The texts of message boxes, each followed by those of its keys: "Done.|OK".
using Told = std::vector<std::string>;

// The phone over a settings directory of its own, driven by keys. It loads the real libraries.
class PhoneTest : public SettingsTest
{
protected:
    PhoneTest() { start(); }

    void start()
    {
        home = std::make_unique<HomeScreen>();
        home->show();
    }

    static void openList() { ScreenDriver::press(Qt::Key_Return); }
    static void closeList() { ScreenDriver::press(Qt::Key_F3); }
    static bool listIsOpen()
    {
        return OrmuPhoneWindow::instance()->topScreen()->inherits("SETUP_SIP_ProfileListBase");
    }
    bool isHome() const { return ScreenDriver::open<HomeScreen>() == home.get(); }

    // The list opens without a question.
    void reopenList()
    {
        closeList();
        ASSERT_TRUE(isHome());
        openList();
        ASSERT_TRUE(listIsOpen());
    }

    static QStringList rows()
    {
        QStringList rows;
        const auto* list = ScreenDriver::open<QWidget>()->findChild<UTIL_ListBox*>();
        for (int i = 0; i < list->count(); ++i)
            rows += list->item(i)->text();
        return rows;
    }

    // A new profile of that name and user, from the list.
    static void addProfile(const QString& name)
    {
        ScreenDriver::press(Qt::Key_F1);
        ScreenDriver::press(Qt::Key_Return);
        for (const QString& value : {name, QStringLiteral("127.0.0.1"), QString(), name, name}) {
            ScreenDriver::type(value);
            ScreenDriver::press(Qt::Key_Down);
        }
        ScreenDriver::press(Qt::Key_F2);
    }

    // Ticks these rows in the dialog of the main menu.
    static void deleteRows(const QList<int>& rows)
    {
        const auto tick = ScreenDriver::onceOpen<UTIL_Dialog>([&rows](UTIL_Dialog& dialog) {
            const int count = dialog.findChild<UTIL_ListBox*>()->count();
            for (int row = 0; row < count; ++row) {
                if (rows.contains(row))
                    ScreenDriver::press(Qt::Key_Return);
                ScreenDriver::press(Qt::Key_Down);
            }
            ScreenDriver::press(Qt::Key_F1);
        });
        ScreenDriver::press(Qt::Key_F1);
        ScreenDriver::press(Qt::Key_Down);
        ScreenDriver::press(Qt::Key_Return);
    }

    // Presses these keys in the chooser, which the current entry opens. Returns the row that was marked.
    static QString choose(const std::vector<Qt::Key>& keys)
    {
        QString marked;
        const auto press = ScreenDriver::onceOpen<UTIL_Dialog>([&](UTIL_Dialog& dialog) {
            const auto* list = dialog.findChild<UTIL_ListBox*>();
            for (int i = 0; i < list->count(); ++i) {
                if (list->itemChecked(i))
                    marked = list->item(i)->text();
            }
            for (const Qt::Key key : keys)
                ScreenDriver::press(key);
        });
        ScreenDriver::press(Qt::Key_Return);
        return marked;
    }

    // Answers the boxes that act waits for by these keys, in turn.
    static Told answer(std::initializer_list<Qt::Key> keys, const std::function<void()>& act)
    {
        const BoxAnswers answers(keys);
        act();
        Told told;
        for (const ShownBox& box : answers.boxes())
            told.push_back((QStringList(box.text) + box.buttons).join(u'|').toStdString());
        return told;
    }

    // Waits for a box that opens by itself, and presses the key.
    static std::string boxText(const char* picture = "", Qt::Key key = Qt::Key_Return)
    {
        if (!ScreenDriver::waitFor([] { return ScreenDriver::open<OrmuMessageBox>() != nullptr; }))
            return "(no box)";
        if (*picture != 0)
            keepPicture(picture);
        const std::string text = ScreenDriver::open<OrmuMessageBox>()->text().toStdString();
        ScreenDriver::press(key);
        return text;
    }

    std::unique_ptr<HomeScreen> home;
};

#endif
