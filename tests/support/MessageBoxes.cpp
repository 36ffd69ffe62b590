// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "MessageBoxes.h"

#include "OrmuMessageBox.h"
#include "OrmuSkin.h"
#include "RES_ICON_Reader.h"
#include "ScreenDriver.h"

#include <QDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <ostream>

namespace {
QString nameOf(const QPixmap& icon)
{
    for (const char* name : {"Dialog_Complete.gif", "Dialog_Exclamatory_Mark.gif",
                             "Dialog_Exclamatory_Mark.jpg", "Dialog_Question_Mark.jpg"})
        if (RES_ICON_Reader().getIcon(name).toImage() == icon.toImage())
            return name;
    if (OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark").toImage() == icon.toImage())
        return "Dialog_Exclamatory_Mark of the skin";
    return icon.isNull() ? "none" : "another";
}
} // namespace

ShownBox::ShownBox(const OrmuMessageBox& box) : text(box.text()), icon(nameOf(box.iconPixmap()))
{
    for (int i = 0; !box.buttonText(i).isEmpty(); ++i)
        buttons += box.buttonText(i);
}

ShownBox::ShownBox(const QString& shownText, const QString& iconName, const QStringList& buttonTexts)
    : text(shownText), icon(iconName), buttons(buttonTexts)
{
}

void PrintTo(const ShownBox& box, std::ostream* out)
{
    *out << qPrintable(QString("\"%1\" (%2) [%3]").arg(box.text, box.icon, box.buttons.join(", ")));
}

BoxAnswers::BoxAnswers(std::initializer_list<Qt::Key> keys) : keys_(keys)
{
    watch();
}

BoxAnswers::~BoxAnswers()
{
    EXPECT_TRUE(keys_.isEmpty()) << "too few message boxes";
}

void BoxAnswers::watch()
{
    // One shot after the other: an answer may run an event loop, in which the next box has to be seen.
    QTimer::singleShot(1, &context_, [this] {
        watch();
        auto* box = ScreenDriver::open<OrmuMessageBox>();
        if (box != nullptr && box != answered_)
            answer(*box);
    });
}

void BoxAnswers::answer(OrmuMessageBox& box)
{
    answered_ = &box;
    boxes_ += ShownBox(box);
    if (!picture_.isEmpty())
        ::keepPicture(picture_ + QString::number(boxes_.size()));
    if (!keys_.isEmpty()) {
        ScreenDriver::press(keys_.takeFirst());
        return;
    }
    ADD_FAILURE() << "one message box too many: " << qPrintable(box.text());
    box.reject();
}

void keepPicture(const QString& name)
{
    const QString directory = qEnvironmentVariable("ORMU_TEST_PICTURES");
    if (!directory.isEmpty())
        ScreenDriver::savePicture(QDir(directory).filePath(name + ".png"));
}
