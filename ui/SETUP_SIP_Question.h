// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_QUESTION_H
#define SETUP_SIP_QUESTION_H

class QObject;
class QPixmap;
class QString;

// Asks the user a question and waits for the answer. True after ok. False after any other end, and when the
// asker was deleted meanwhile: the caller must not touch the asker then.
bool SETUP_SIP_Confirm(const QObject* asker, const QPixmap& icon, const QString& question, const QString& ok,
                       const QString& cancel);

#endif
