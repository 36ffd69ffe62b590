// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef BOUNDEDLISTING_H
#define BOUNDEDLISTING_H

#include "SETUP_SET_Manager.h"

#include <QStringList>

#include <optional>

// The names that the store would list, in its order, found by the store's rule but with an end to its search.
// Nothing when the store's loading would not end. No number in the file may be above the bound.
inline std::optional<QStringList> boundedListing(const QString& path, int bound = 50)
{
    const SETUP_SET_Manager manager(path, false);
    const auto nameAt = [&manager](int number) {
        QString name;
        manager.getSettingInfo(QStringLiteral("Profile%1").arg(number), "DisplayName", name, QString(),
                               false);
        return name;
    };
    int total = 0;
    manager.getSettingInfo("ProfileSummary", "TotalProfile", total, 0);
    QStringList listed;
    for (int found = 0; found < total; ++found) {
        int number = found;
        while (number <= bound && nameAt(number).isEmpty())
            ++number;
        if (number > bound)
            return std::nullopt;
        listed += nameAt(number);
    }
    return listed;
}

#endif
