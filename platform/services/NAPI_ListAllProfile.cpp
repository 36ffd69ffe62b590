// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "NAPI_ListAllProfile.h"

#include "OrmuConfig.h"

#include <QFile>
#include <QStringList>

#include <cstring>
#include <optional>

namespace {

std::optional<QStringList> connectionNames()
{
    QFile file(OrmuConfig::getSettingDirectory() + QLatin1String("/data_connections"));
    if (!file.exists())
        return QStringList{QStringLiteral("internet")};
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QStringList names;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        const QString name = line.trimmed();
        if (!name.isEmpty() && !name.startsWith(QLatin1Char('#')))
            names += name;
    }
    return names;
}

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

void writeRecord(char* record, const QByteArray& name)
{
    qsizetype length = name.size();
    if (length >= NAPI_PROFILE_RECORD_SIZE) {
        length = NAPI_PROFILE_RECORD_SIZE - 1;
        while (continuesCharacter(name.at(length)))
            --length;
    }
    std::memset(record, 0, NAPI_PROFILE_RECORD_SIZE);
    std::memcpy(record, name.constData(), static_cast<size_t>(length));
}

} // namespace

int NAPI_ListAllProfile(void* buffer, int* count)
{
    if (count == nullptr)
        return -1;
    const std::optional<QStringList> names = connectionNames();
    if (!names)
        return -1;
    const int room = buffer == nullptr ? 0 : *count;
    auto* record = static_cast<char*>(buffer);
    for (int i = 0; i < room && i < names->size(); ++i, record += NAPI_PROFILE_RECORD_SIZE)
        writeRecord(record, names->at(i).toUtf8());
    *count = static_cast<int>(names->size());
    return 0;
}
