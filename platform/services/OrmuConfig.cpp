#include "OrmuConfig.h"

#include <QFile>
#include <QStandardPaths>

#include <glib.h>

#include <cerrno>
#include <cstring>

namespace {

const char SETTING_DIRECTORY_VARIABLE[] = "ORMU_SETTING_DIR";

QString directoryName()
{
    if (qEnvironmentVariableIsSet(SETTING_DIRECTORY_VARIABLE))
        return QFile::decodeName(qgetenv(SETTING_DIRECTORY_VARIABLE));
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QLatin1String("/ormu");
}

} // namespace

QString OrmuConfig::getSettingDirectory()
{
    QString directory = directoryName();
    const QByteArray path = QFile::encodeName(directory);
    if (!path.isEmpty() && g_mkdir_with_parents(path.constData(), 0700) != 0)
        qWarning("settings directory %s cannot be made: %s", path.constData(), std::strerror(errno));
    return directory;
}
