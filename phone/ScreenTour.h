// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SCREENTOUR_H
#define SCREENTOUR_H

#include <QString>

// Walks through the phone's screens by its keys and writes a PNG picture of each, at the phone's own size.
// Changes the sample profiles, and needs a daemon that accepts every request. Call it once the home screen is
// open; it returns after the tour. Returns false, after a message on standard error, when a picture cannot be
// written or a screen does not open.
bool takeScreenTour(const QString& directory);

#endif
