#ifndef SETTINGSTEXT_H
#define SETTINGSTEXT_H

#include <QByteArray>
#include <QString>

#include <optional>

// How a text stands as a value in a settings file: UTF-8 with the key file's escapes \\ \n \r \t, \s for a
// blank that leads or trails, and \uXXXX (four hexadecimal digits, one UTF-16 unit) for what the file could
// not hold otherwise: the other control characters, U+0000 among them, the byte order mark, and half a
// surrogate pair. Every QString comes back as it was.
QByteArray encodeSettingsText(const QString& text);

// The text that value stands for; nothing when value is not UTF-8. A backslash that begins no escape stands
// for itself, so that a password typed into the file by hand is read as it was typed.
std::optional<QString> decodeSettingsText(QByteArrayView value);

#endif
