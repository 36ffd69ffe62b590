// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_Question.h"

#include "OrmuMessageBox.h"

#include <QPointer>

bool SETUP_SIP_Confirm(const QObject* asker, const QPixmap& icon, const QString& question, const QString& ok,
                       const QString& cancel)
{
    const QPointer<const QObject> alive(asker);
    OrmuMessageBox box(nullptr, icon, question, ok, cancel, QString(), 1);
    return box.exec() == 0 && !alive.isNull();
}
