// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUMULTILINEEDIT_H
#define ORMUMULTILINEEDIT_H

#include "OrmuPlatformExport.h"
#include "qregexp.h"

#include <QLineEdit>

// A text entry of one line, at first 220 x 30 pixels, for texts of any length. Line breaks and other
// control characters cannot be typed, pasted or dropped into it.
class ORMU_PLATFORM_EXPORT OrmuMultiLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    // The boolean and lines have no effect; the phone's toolkit has them.
    OrmuMultiLineEdit(QWidget* parent, bool, int lines);

    // Removes from the text that the user types, pastes or drops every character that filter does not
    // match; when admit is false, every character that it matches.
    void setFilter(const QRegExp& filter, bool admit);

    // Inserts text, unfiltered, at the beginning (pos 0) or at the end. The next change by the user filters
    // it.
    void insertLine(const QString& text, int pos = -1);

signals:
    // The text was changed, by the user or by the program.
    void textChanged();

private:
    void emitChange(const QString& text);

    QString lastEmitted_;
};

#endif
