// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETTINGSNOTICES_H
#define SETTINGSNOTICES_H

#include "SettingsFailure.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <memory>

class OrmuMessageBox;

// Tells the user which settings could not be read or saved, in a box over the screen that is open once the
// program is back in an event loop. One box tells all failures since the last one, each once. Gets every
// failure of the settings services while it lives; one object to a program.
class SettingsNotices : public QObject
{
    Q_OBJECT

public:
    explicit SettingsNotices(QObject* parent);
    ~SettingsNotices() override;

    // May be called from anywhere: shows nothing yet.
    void note(const SettingsFailure& failure);

private:
    static QString textFor(const SettingsFailure& failure);
    QString takeText();
    void showBox();
    void boxClosed();

    QList<SettingsFailure> failures_; // Not told yet
    QTimer soon_;
    std::unique_ptr<OrmuMessageBox> box_;
};

#endif
