// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SettingsNotices.h"

#include "MessageBox.h"
#include "OrmuMessageBox.h"

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

// A change that was not saved because the file could not be read tells both.
QString SettingsNotices::takeText()
{
    const bool tellsBoth =
        std::any_of(failures_.cbegin(), failures_.cend(), [](const SettingsFailure& failure) {
            return failure.kind == SettingsFailure::NotSavedUnread;
        });
    QStringList texts;
    for (const SettingsFailure& failure : std::exchange(failures_, {})) {
        if (!tellsBoth || failure.kind != SettingsFailure::NotRead)
            texts += textFor(failure);
    }
    texts.removeDuplicates();
    return texts.join(u'\n');
}

// Not modal: the screens beneath stay at work.
void SettingsNotices::showBox()
{
    if (box_ != nullptr || failures_.isEmpty())
        return;
    box_ = makeMessageBox(MessageIcon::Warning, takeText());
    connect(box_.get(), &QDialog::finished, this, &SettingsNotices::boxClosed);
    box_->show();
}

void SettingsNotices::boxClosed()
{
    box_.release()->deleteLater(); // Its own key has called this.
    soon_.start(0);
}

#include "moc_SettingsNotices.cpp"
