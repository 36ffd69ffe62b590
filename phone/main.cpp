// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// phone: the settings application of a phone, in a window of the phone's size.
#include "HomeScreen.h"
#include "OrmuApplication.h"
#include "OrmuPhoneWindow.h"
#include "PrivateMemory.h"
#include "ScreenTour.h"

#include <QCommandLineParser>

int main(int argc, char** argv)
{
    keepMemoryPrivate();
    OrmuApplication application(argc, argv);
    OrmuApplication::setApplicationName("phone");
    OrmuApplication::setApplicationVersion(ORMU_VERSION);

    QCommandLineParser options;
    options.setApplicationDescription("The settings of a phone, in a window of the phone's size.");
    options.addHelpOption();
    options.addVersionOption();
    const QCommandLineOption screenshot("screenshot", "Write pictures of the screens to <directory> and end.",
                                        "directory");
    options.addOption(screenshot);
    options.process(application);

    OrmuPhoneWindow::instance()->setWindowTitle(HomeScreen::tr("Phone", "99.99.99;WINDOW_TITLE"));
    HomeScreen home;
    home.show();
    if (options.isSet(screenshot))
        return takeScreenTour(options.value(screenshot)) ? 0 : 1;
    return OrmuApplication::exec();
}
