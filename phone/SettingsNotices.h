#ifndef SETTINGSNOTICES_H
#define SETTINGSNOTICES_H

#include "SettingsFailure.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <memory>

class OrmuMessageBox;

// Tells the user which settings could not be read or saved: in a box over whatever is open by then, once the
// program is back in an event loop. Failures in a row are told in one box, and each of them once. Hears of
// every failure of the settings services while it lives; one object to a program.
class SettingsNotices : public QObject
{
    Q_OBJECT

public:
    explicit SettingsNotices(QObject* parent);
    ~SettingsNotices() override;

    // May be called from anywhere: it shows nothing by itself.
    void note(const SettingsFailure& failure);

private:
    static QString textFor(const SettingsFailure& failure);
    QString takeText();
    void showBox();
    void boxClosed();

    QList<SettingsFailure> failures_; // Not told yet.
    QTimer soon_;
    std::unique_ptr<OrmuMessageBox> box_;
};

#endif
