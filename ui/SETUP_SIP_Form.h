// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_FORM_H
#define SETUP_SIP_FORM_H

class OrmuMainWidget;
class OrmuMultiLineEdit;
class QCheckBox;
class QLabel;
class QString;

constexpr int SETUP_SIP_LINE_WIDTH = 220;
constexpr int SETUP_SIP_LINE_HEIGHT = 30;

// Adds a line of text to the content, y pixels from the top. The content owns it, here and below.
QLabel* SETUP_SIP_AddLabel(const OrmuMainWidget* screen, const QString& text, int y);
// Made for the content, but not added to it: the screen connects them first.
OrmuMultiLineEdit* SETUP_SIP_NewEntry(const OrmuMainWidget* screen, const QString& text);
QCheckBox* SETUP_SIP_NewCheckBox(const OrmuMainWidget* screen, const QString& text, bool checked, int y);

#endif
