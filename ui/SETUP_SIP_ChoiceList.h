// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_CHOICELIST_H
#define SETUP_SIP_CHOICELIST_H

class QLabel;
class QString;
class UTIL_Dialog;
class UTIL_ListBox;
class UTIL_ListBoxItem;

// The column of a profile's name. The column before it holds a mark or an icon.
constexpr int SETUP_SIP_NAME_COLUMN = 1;

// The title of a dialog, on its title strip. The dialog owns it.
QLabel* SETUP_SIP_AddTitle(const UTIL_Dialog* dialog, const QString& text);
// An empty list that fills the dialog below its title strip. The dialog owns it.
UTIL_ListBox* SETUP_SIP_AddList(const UTIL_Dialog* dialog, const QString& rowFormat);
// An unmarked row with a profile's name, to be inserted into the list.
UTIL_ListBoxItem* SETUP_SIP_NewRow(UTIL_ListBox* list, const QString& rowFormat, const QString& name);

#endif
