// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "MessageBox.h"

#include "OrmuMessageBox.h"
#include "RES_ICON_Reader.h"

#include <QCoreApplication>
#include <QPointer>

namespace {

QPixmap pixmapOf(MessageIcon icon)
{
    return RES_ICON_Reader().getIcon(icon == MessageIcon::Done ? "Dialog_Complete.gif"
                                                               : "Dialog_Exclamatory_Mark.gif");
}

} // namespace

std::unique_ptr<OrmuMessageBox> makeMessageBox(MessageIcon icon, const QString& text)
{
    return std::make_unique<OrmuMessageBox>(
        nullptr, pixmapOf(icon), text,
        QCoreApplication::translate("MessageBox", "OK", "99.99.99;SOFTKEY_1BUTTON"), QString(), QString(), 1);
}

void showMessage(MessageIcon icon, const QString& text)
{
    // The phone's window, which has it meanwhile, may delete it.
    const QPointer<OrmuMessageBox> box(makeMessageBox(icon, text).release());
    box->exec();
    delete box;
}

bool askUser(const QString& question, const QString& yes, const QString& no)
{
    return OrmuMessageBox::information(nullptr, pixmapOf(MessageIcon::Warning), question, yes, no, QString(),
                                       1) == 0;
}
