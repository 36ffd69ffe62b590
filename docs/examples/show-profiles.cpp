// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// show-profiles: a host in small. Loads the setup library and shows the list of SIP profiles until the user
// leaves it. A settings file whose profiles are numbered wrongly must be repaired first: sip-profile repair.

#include "OrmuApplication.h"
#include "SETUP_SIP_ProfileListBase.h"

#include <QLibrary>

#include <memory>

int main(int argc, char** argv)
{
    OrmuApplication application(argc, argv);

    QLibrary library("ormusipsetup-xscale-r", 1);
    const auto create = reinterpret_cast<decltype(&SETUP_SIP_CreateProfileList)>(
        library.resolve("SETUP_SIP_CreateProfileList"));
    if (create == nullptr) {
        qWarning("show-profiles: %s", qPrintable(library.errorString()));
        return 1;
    }

    const std::unique_ptr<SETUP_SIP_ProfileListBase> list(create(nullptr));
    QObject::connect(list.get(), SIGNAL(SIPClose()), &application, SLOT(quit()));
    list->createScreen();
    list->show();
    return OrmuApplication::exec();
}
