#include "SetupLibrary.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLibrary>

namespace {
// Beside the program in a build or installed tree; otherwise wherever the system's loader finds it.
QString libraryPath()
{
    const QString name = QStringLiteral(ORMU_SETUP_LIBRARY);
    const QString beside = QCoreApplication::applicationDirPath() + QLatin1String("/../lib/") + name;
    return QFileInfo::exists(beside) ? beside : name;
}
} // namespace

SETUP_SIP_ProfileListBase* SetupLibrary::createProfileList(QWidget* parent, QString& error)
{
    static QLibrary library(libraryPath());
    using Create = SETUP_SIP_ProfileListBase* (*)(QWidget*);
    const auto create = reinterpret_cast<Create>(library.resolve("SETUP_SIP_CreateProfileList"));
    if (create == nullptr) {
        error = library.errorString();
        return nullptr;
    }
    return create(parent);
}
