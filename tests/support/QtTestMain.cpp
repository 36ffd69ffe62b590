// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuApplication.h"
#include "OrmuPhoneWindow.h"

#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

// Runs a test program of widgets in a phone: offscreen, at its true size, and with a home directory of its
// own, so that no test reads the settings of the user or of another test.
int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("ORMU_SETTING_DIR", home.filePath(QStringLiteral("settings")).toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_SCALE_FACTOR");
    const OrmuApplication application(argc, argv);
    // A test may close the phone's window and open it again.
    OrmuApplication::setQuitOnLastWindowClosed(false);
    OrmuPhoneWindow::instance()->show();
    if (!QTest::qWaitForWindowActive(OrmuPhoneWindow::instance()))
        qFatal("the phone's window does not become active");
    return RUN_ALL_TESTS();
}
