#include "OrmuConfig.h"
#include "SettingsFixture.h"

#include <QDir>
#include <QFile>

namespace {

using OrmuConfigTest = SettingsTest;

mode_t permissionsOf(const QString& path)
{
    return FileIdentity(path).mode & 07777;
}

TEST_F(OrmuConfigTest, ReturnsTheVariableUnchanged)
{
    for (const QString& name : {directory(), directory() + "/", directory() + "//x/../y/"}) {
        qputenv("ORMU_SETTING_DIR", QFile::encodeName(name));
        EXPECT_EQ(OrmuConfig::getSettingDirectory(), name);
    }
}

TEST_F(OrmuConfigTest, ReadsTheVariableOnEveryCall)
{
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory());
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(directory() + "/other"));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory() + "/other");
}

TEST_F(OrmuConfigTest, ReturnsAnEmptyPathForAnEmptyVariable)
{
    qputenv("ORMU_SETTING_DIR", "");
    WarningLog warnings;
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), "");
    EXPECT_TRUE(warnings.lines().isEmpty());
}

TEST_F(OrmuConfigTest, MakesMissingDirectoriesForItsUserAlone)
{
    const QString name = directory() + "/a/b";
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(name));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), name);
    EXPECT_EQ(permissionsOf(name), 0700u);
    EXPECT_EQ(permissionsOf(directory() + "/a"), 0700u);
}

TEST_F(OrmuConfigTest, KeepsTheModeOfAnExistingDirectory)
{
    ASSERT_EQ(chmod(QFile::encodeName(directory()).constData(), 0755), 0);
    OrmuConfig::getSettingDirectory();
    EXPECT_EQ(permissionsOf(directory()), 0755u);
}

TEST_F(OrmuConfigTest, FallsBackToTheUsersConfigurationDirectory)
{
    qunsetenv("ORMU_SETTING_DIR");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(directory() + "/config"));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory() + "/config/ormu");
    EXPECT_EQ(permissionsOf(directory() + "/config/ormu"), 0700u);
    qunsetenv("XDG_CONFIG_HOME");
}

TEST_F(OrmuConfigTest, WarnsOfADirectoryThatCannotBeMade)
{
    writeFile(directory() + "/file", "");
    const QString name = directory() + "/file/below";
    qputenv("ORMU_SETTING_DIR", QFile::encodeName(name));
    WarningLog warnings;
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), name);
    EXPECT_EQ(warnings.lines().size(), 1);
}

TEST_F(OrmuConfigTest, MakesADirectoryWithANonLatinName)
{
    const QString name = directory() + QStringLiteral("/настройки 設定");
    qputenv("ORMU_SETTING_DIR", name.toUtf8());
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), name);
    EXPECT_TRUE(QDir(name).exists());
}

} // namespace
