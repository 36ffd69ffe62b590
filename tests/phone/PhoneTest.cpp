// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LibraryFunction.h"
#include "PhoneFixture.h"

#include <iostream>
#include <link.h>

using namespace ScreenDriver;

namespace {

using Phone = PhoneTest;

const QByteArray TWO_PROFILES = "[ProfileSummary]\nTotalProfile=2\n"
                                "[Profile0]\nDisplayName=Home\n[Profile1]\nDisplayName=Ёлка\n";

TEST_F(Phone, OpensTheListByKeysAndByPointer)
{
    const std::vector<std::function<void()>> ways = {
        [] { press(Qt::Key_Return); }, [] { press(Qt::Key_F2); },
        [this] { clickRow(home->findChild<UTIL_ListBox*>(), 0); }};
    for (int i = 0; i < 20; ++i) {
        ways[static_cast<size_t>(i) % ways.size()]();
        ASSERT_TRUE(listIsOpen());
        press(i % 2 == 0 ? Qt::Key_F3 : Qt::Key_Escape);
        ASSERT_TRUE(isHome());
        ASSERT_EQ(home->findChildren<OrmuMainWidget*>().size(), 0);
        ASSERT_TRUE(home->findChild<UTIL_ListBox*>()->hasFocus());
    }
}

TEST_F(Phone, LoadsSixtyLibrariesAtMost)
{
    press(Qt::Key_Return);
    press(Qt::Key_F3);
    press(Qt::Key_Down);
    choose({Qt::Key_F3});
    QStringList loaded;
    dl_iterate_phdr(
        [](dl_phdr_info* object, size_t, void* names) {
            static_cast<QStringList*>(names)->append(QString::fromLocal8Bit(object->dlpi_name));
            return 0;
        },
        &loaded);
    const auto libraries = loaded.filter(QStringLiteral(".so"));
    std::cout << libraries.size() << " libraries\n";
    EXPECT_EQ(libraries.filter(QStringLiteral("libormusipsetup-xscale-r.so.1")).size(), 1);
    EXPECT_LE(libraries.size(), 60) << libraries.join('\n').toStdString();
}

TEST_F(Phone, ShowsTheChosenProfilesGroupAndMarksItNextTime)
{
    writeFile(TWO_PROFILES);
    press(Qt::Key_Down);
    for (const char* marked : {"", "Ёлка"}) {
        EXPECT_EQ(answer({Qt::Key_Return},
                         [&] {
                             EXPECT_EQ(choose({Qt::Key_Down, Qt::Key_Return, Qt::Key_F1}), marked);
                         }),
                  Told({"Profile1|OK"}));
        EXPECT_TRUE(isHome());
    }
}

TEST_F(Phone, SaysNothingAfterACancelledChoice)
{
    press(Qt::Key_Down);
    choose({Qt::Key_F3});
    EXPECT_TRUE(isHome());
}

TEST_F(Phone, SaysWhyAFunctionCannotBeLoaded)
{
    QString error;
    EXPECT_EQ(resolveLibraryFunction("libno-such-library.so.1", "function", error), nullptr);
    EXPECT_TRUE(error.contains("libno-such-library.so.1")) << qPrintable(error);
    error.clear();
    EXPECT_EQ(resolveLibraryFunction("libormusipsetup-xscale-r.so.1", "no_such_function", error), nullptr);
    EXPECT_TRUE(error.contains("no_such_function")) << qPrintable(error);
}

} // namespace
