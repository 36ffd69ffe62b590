#include "SettingsNotices.h"

#include "OrmuMessageBox.h"
#include "RES_ICON_Reader.h"

#include <QStringList>

#include <algorithm>
#include <utility>

SettingsNotices::SettingsNotices(QObject* parent) : QObject(parent)
{
    soon_.setSingleShot(true);
    connect(&soon_, &QTimer::timeout, this, &SettingsNotices::showBox);
    setSettingsFailureHandler([this](const SettingsFailure& failure) { note(failure); });
}

SettingsNotices::~SettingsNotices()
{
    setSettingsFailureHandler({});
}

void SettingsNotices::note(const SettingsFailure& failure)
{
    failures_ += failure;
    soon_.start(0);
}

QString SettingsNotices::textFor(const SettingsFailure& failure)
{
    switch (failure.kind) {
    case SettingsFailure::NotRead:
        return tr("The SIP profiles could not be read: %1.", "99.99.99;DIALOG_ICON_50_WARP")
            .arg(failure.reason);
    case SettingsFailure::NotSaved:
        return tr("The SIP profiles could not be saved: %1.", "99.99.99;DIALOG_ICON_50_WARP")
            .arg(failure.reason);
    case SettingsFailure::NotSavedUnread:
        return tr("The SIP profiles could not be saved, because they could not be read: %1. Leave the list "
                  "and open it again.",
                  "99.99.99;DIALOG_ICON_50_WARP")
            .arg(failure.reason);
    case SettingsFailure::NoDirectory:
        return tr("SIP profiles cannot be saved: %1.", "99.99.99;DIALOG_ICON_50_WARP").arg(failure.reason);
    }
    return QString();
}

// What was not saved since it could not be read says both.
QString SettingsNotices::takeText()
{
    const bool saysBoth =
        std::any_of(failures_.cbegin(), failures_.cend(), [](const SettingsFailure& failure) {
            return failure.kind == SettingsFailure::NotSavedUnread;
        });
    QStringList texts;
    for (const SettingsFailure& failure : std::exchange(failures_, {})) {
        if (!saysBoth || failure.kind != SettingsFailure::NotRead)
            texts += textFor(failure);
    }
    texts.removeDuplicates();
    return texts.join(u'\n');
}

// Not waited for: what is open underneath goes its way meanwhile.
void SettingsNotices::showBox()
{
    if (box_ != nullptr || failures_.isEmpty())
        return;
    box_ = std::make_unique<OrmuMessageBox>(nullptr, RES_ICON_Reader().getIcon("Dialog_Exclamatory_Mark.gif"),
                                            takeText(), tr("OK", "99.99.99;SOFTKEY_1BUTTON"), QString(),
                                            QString(), 1);
    connect(box_.get(), &QDialog::finished, this, &SettingsNotices::boxClosed);
    box_->show();
}

void SettingsNotices::boxClosed()
{
    box_.release()->deleteLater(); // Its own key called this.
    soon_.start(0);
}
