// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuSkin.h"
#include "RES_ICON_Reader.h"
#include "ToolkitTest.h"

class Icon : public testing::TestWithParam<const char*>
{
};

TEST_P(Icon, IsFoundByItsFileName)
{
    const QPixmap icon = RES_ICON_Reader().getIcon(GetParam());
    ASSERT_FALSE(icon.isNull());
    const bool ofDialogs = QByteArray(GetParam()).startsWith("Dialog_");
    EXPECT_EQ(icon.size(), ofDialogs ? QSize(40, 40) : QSize(20, 20));
}

INSTANTIATE_TEST_SUITE_P(Skin, Icon,
                         testing::Values("Network_Connection.gif", "Network_Locked_Profile.gif",
                                         "Dialog_Exclamatory_Mark.gif", "Dialog_Exclamatory_Mark.jpg",
                                         "Dialog_Complete.gif", "Dialog_Question_Mark.jpg"));

TEST(Skin, FindsItsPixmapsByName)
{
    EXPECT_EQ(OrmuSkin::skin()->pixmap("Dialog_Exclamatory_Mark").size(), QSize(40, 40));
    EXPECT_TRUE(RES_ICON_Reader().getIcon("None.gif").isNull());
    EXPECT_TRUE(OrmuSkin::skin()->pixmap("None").isNull());
}

TEST(Skin, HasDifferentIconsForRows)
{
    const RES_ICON_Reader icons;
    EXPECT_NE(icons.getIcon("Network_Connection.gif").toImage(),
              icons.getIcon("Network_Locked_Profile.gif").toImage());
}

TEST(Application, KeepsTheMouseModeOfEachWidget)
{
    QWidget one;
    const QWidget other;
    OrmuApplication::setMouseMode(&one, 1);
    EXPECT_EQ(OrmuApplication::mouseMode(&one), 1);
    EXPECT_EQ(OrmuApplication::mouseMode(&other), 0);
}
