// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef EDITFORM_H
#define EDITFORM_H

#include "OrmuMainWidget.h"
#include "OrmuMultiLineEdit.h"
#include "ScreenDriver.h"

#include <QCheckBox>
#include <QComboBox>

#include <gtest/gtest.h>

// The entries of an open edit screen, each found by its place on the form.
struct EditForm
{
    explicit EditForm(const OrmuMainWidget* screen)
        : contents(screen->getContentWidget()->widget()), name(at<OrmuMultiLineEdit>(30)),
          server(at<OrmuMultiLineEdit>(90)), port(at<OrmuMultiLineEdit>(150)),
          user(at<OrmuMultiLineEdit>(210)), password(at<OrmuMultiLineEdit>(270)), network(at<QComboBox>(330)),
          autoConnect(at<QCheckBox>(360))
    {
    }

    // Null, and a failure, when there is not exactly one such widget.
    template <class Widget>
    Widget* at(int y) const
    {
        QList<Widget*> found = contents->findChildren<Widget*>(QString(), Qt::FindDirectChildrenOnly);
        found.removeIf([y](const Widget* widget) { return widget->pos() != QPoint(0, y); });
        EXPECT_EQ(found.size(), 1) << y;
        return found.value(0);
    }

    QList<QWidget*> inOrder() const { return {name, server, port, user, password, network, autoConnect}; }
    // The entries that take any text.
    QList<OrmuMultiLineEdit*> texts() const { return {name, server, user, password}; }

    // Moves the focus with the arrow keys.
    static void moveTo(const QWidget* entry)
    {
        for (int i = 0; i < 7 && !entry->hasFocus(); ++i)
            ScreenDriver::press(Qt::Key_Down);
        EXPECT_TRUE(entry->hasFocus());
    }

    // Types the text over the contents of the entry.
    static void enter(const OrmuMultiLineEdit* entry, const QString& text)
    {
        moveTo(entry);
        ScreenDriver::press(Qt::Key_A, Qt::ControlModifier);
        ScreenDriver::press(Qt::Key_Backspace);
        ScreenDriver::type(text);
    }

    void enterAll(const QString& profile) const
    {
        enter(name, profile);
        enter(server, "sip.example.org");
        enter(user, "alice");
        enter(password, "secret");
    }

    QWidget* contents;
    OrmuMultiLineEdit* name;
    OrmuMultiLineEdit* server;
    OrmuMultiLineEdit* port;
    OrmuMultiLineEdit* user;
    OrmuMultiLineEdit* password;
    QComboBox* network;
    QCheckBox* autoConnect;
};

#endif
