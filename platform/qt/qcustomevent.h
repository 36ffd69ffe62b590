// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef QCUSTOMEVENT_H
#define QCUSTOMEVENT_H

#include <QEvent>

// An event of an application's own type (QEvent::User, 1000, and up).
class QCustomEvent : public QEvent
{
public:
    explicit QCustomEvent(int type) : QEvent(static_cast<QEvent::Type>(type)) {}
};

#endif
