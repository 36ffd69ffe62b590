// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef MESSAGEBOX_H
#define MESSAGEBOX_H

#include <QString>

#include <memory>

class OrmuMessageBox;

// Boxes with a text and one key, OK.
enum class MessageIcon { Done, Warning };

// A box that is not shown yet.
std::unique_ptr<OrmuMessageBox> makeMessageBox(MessageIcon icon, const QString& text);
// Shows a box and waits for the user.
void showMessage(MessageIcon icon, const QString& text);
// Shows a box with two keys in place of OK, and waits for the user. True for the first key.
bool askUser(const QString& question, const QString& yes, const QString& no);

#endif
