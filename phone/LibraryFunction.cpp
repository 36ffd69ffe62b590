// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LibraryFunction.h"

#include "OrmuConfig.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>

#include <dlfcn.h>

// Where the phone's libraries are: the platform is one of them. Ends with a slash; "" when the loader does
// not say.
static QString libraryDirectory()
{
    Dl_info platform = {};
    if (dladdr(reinterpret_cast<void*>(&OrmuConfig::getSettingDirectory), &platform) == 0)
        return {};
    return QFileInfo(QFile::decodeName(platform.dli_fname)).absolutePath() + QLatin1Char('/');
}

QFunctionPointer resolveLibraryFunction(const QString& fileName, const char* function, QString& error)
{
    const QString beside = libraryDirectory() + fileName;
    QLibrary library(QFileInfo::exists(beside) ? beside : fileName);
    const QFunctionPointer found = library.resolve(function);
    if (found == nullptr)
        error = library.isLoaded() ? QCoreApplication::translate("LibraryFunction", "%1 has no function %2")
                                         .arg(fileName, QLatin1String(function))
                                   : library.errorString();
    return found;
}
