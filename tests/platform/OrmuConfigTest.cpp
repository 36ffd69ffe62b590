// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuConfig.h"
#include "ManagerTest.h"

namespace {

using OrmuConfigTest = ManagerTest;

TEST_F(OrmuConfigTest, ReturnsTheVariableUnchanged)
{
    for (const QString& path : {directory(), directory() + "/", directory() + "//x/../y/"}) {
        qputenv("ORMU_SETTING_DIR", name(path));
        EXPECT_EQ(OrmuConfig::getSettingDirectory(), path);
    }
}

TEST_F(OrmuConfigTest, ReadsTheVariableOnEveryCall)
{
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory());
    qputenv("ORMU_SETTING_DIR", name(directory() + "/other"));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory() + "/other");
}

TEST_F(OrmuConfigTest, ReturnsAnEmptyPathForAnEmptyVariable)
{
    qputenv("ORMU_SETTING_DIR", "");
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), "");
    EXPECT_TRUE(warnings.lines().isEmpty());
}

TEST_F(OrmuConfigTest, MakesMissingDirectoriesForItsUserAlone)
{
    const QString path = directory() + "/a/b";
    qputenv("ORMU_SETTING_DIR", name(path));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), path);
    EXPECT_EQ(modeOf(path), 0700u);
    EXPECT_EQ(modeOf(directory() + "/a"), 0700u);
}

TEST_F(OrmuConfigTest, KeepsTheModeOfAnExistingDirectory)
{
    setMode(directory(), 0755);
    OrmuConfig::getSettingDirectory();
    EXPECT_EQ(modeOf(directory()), 0755u);
}

TEST_F(OrmuConfigTest, FallsBackToTheUsersConfigurationDirectory)
{
    qunsetenv("ORMU_SETTING_DIR");
    qputenv("XDG_CONFIG_HOME", name(directory() + "/config"));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), directory() + "/config/ormu");
    EXPECT_EQ(modeOf(directory() + "/config/ormu"), 0700u);
    qunsetenv("XDG_CONFIG_HOME");
}

TEST_F(OrmuConfigTest, WarnsOfADirectoryThatCannotBeMade)
{
    writeFile(directory() + "/file", "");
    const QString path = directory() + "/file/below";
    qputenv("ORMU_SETTING_DIR", name(path));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), path);
    EXPECT_EQ(warnings.lines().size(), 1);
}

TEST_F(OrmuConfigTest, MakesADirectoryWithANonLatinName)
{
    const QString path = directory() + QStringLiteral("/настройки 設定");
    qputenv("ORMU_SETTING_DIR", name(path));
    EXPECT_EQ(OrmuConfig::getSettingDirectory(), path);
    EXPECT_TRUE(QDir(path).exists());
}

} // namespace
