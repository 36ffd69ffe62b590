#include "HomeScreen.h"
#include "SETUP_SIP_Agent.h"
#include "SettingsFixture.h"

#include <QFile>

namespace {

using SettingsPath = SettingsTest;

TEST_F(SettingsPath, OfTheHostIsTheStores)
{
    for (const QString& name : {directory(), directory() + "/", directory() + "//x/../y//", QString()}) {
        qputenv("ORMU_SETTING_DIR", QFile::encodeName(name));
        QString path;
        SETUP_SIP_Agent::getSIPSetupPath(path);
        EXPECT_EQ(HomeScreen::profileFile(), path);
    }
}

} // namespace
