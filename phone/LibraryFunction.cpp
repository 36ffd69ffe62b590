#include "LibraryFunction.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibrary>

QFunctionPointer resolveLibraryFunction(const QString& fileName, const char* function, QString& error)
{
    const QString beside = QCoreApplication::applicationDirPath() + QLatin1String("/../lib/") + fileName;
    QLibrary library(QFileInfo::exists(beside) ? beside : fileName);
    const QFunctionPointer found = library.resolve(function);
    if (found == nullptr)
        error = library.errorString();
    return found;
}
