// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef LIBRARYFUNCTION_H
#define LIBRARYFUNCTION_H

#include <QFunctionPointer>
#include <QString>

// The function of that name in the shared library of that file name. Looks for the library beside those that
// the phone has loaded already, then where the system's loader does. The library stays loaded until the
// program ends. Null when the library or the function is missing; error is the reason then, in words for the
// user.
QFunctionPointer resolveLibraryFunction(const QString& fileName, const char* function, QString& error);

#endif
