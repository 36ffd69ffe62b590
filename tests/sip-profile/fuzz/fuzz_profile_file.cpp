// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Feeds bytes to the check and the repair as the profiles' settings file.

#include "ProfileFile.h"
#include "ProfileRepair.h"
#include "Require.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

// No file has to survive a crash of the machine.
extern "C" int fsync(int)
{
    return 0;
}

namespace {

// In memory where the machine has such a place.
QString temporaryPlace()
{
    const QString memory = "/dev/shm";
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) + "/settings-XXXXXX";
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size());
}

QByteArray read(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QTemporaryDir directory(temporaryPlace());
    const QString path = directory.filePath("file");
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    write(path, bytes);

    const ProfileFile before(path);
    const ProfileRepair repair = repairProfileFile(path);
    if (before.findings().isEmpty()) {
        require(repair.outcome == ProfileRepair::NothingToDo && read(path) == bytes);
        return 0;
    }
    require(repair.outcome == ProfileRepair::Repaired && read(repair.copy) == bytes);
    require(QFile::remove(repair.copy));
    const ProfileFile after(path);
    require(after.findings().isEmpty() && after.profiles().size() >= before.profiles().size());
    return 0;
}
