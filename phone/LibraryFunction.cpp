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
        error = library.isLoaded() ? QCoreApplication::translate("LibraryFunction", "%1 has no function %2")
                                         .arg(fileName, QLatin1String(function))
                                   : library.errorString();
    return found;
}
