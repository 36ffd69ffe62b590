// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUPOPUPKEYS_H
#define ORMUPOPUPKEYS_H

#include <QCoreApplication>
#include <QObject>

#include <memory>

class OrmuPushButton;
class QMouseEvent;
class QWidget;
class UTIL_CST;

// The soft keys while a menu or the list of a combo box is open: a bar over the screen's own bar with the
// keys' present functions. A tap on a key acts like its key press.
class OrmuPopupKeys : public QObject
{
    Q_DECLARE_TR_FUNCTIONS(OrmuPopupKeys)

public:
    explicit OrmuPopupKeys(QWidget* phone);
    ~OrmuPopupKeys() override;

    // Call this after another widget was raised.
    void raise();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    OrmuPushButton* keyAt(const QMouseEvent* event) const;
    bool press(const QMouseEvent* event);
    bool release(const QMouseEvent* event);

    const std::unique_ptr<UTIL_CST> bar_; // a child of the phone's window
    OrmuPushButton* pressed_ = nullptr;
};

#endif
