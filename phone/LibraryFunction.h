#ifndef LIBRARYFUNCTION_H
#define LIBRARYFUNCTION_H

#include <QFunctionPointer>
#include <QString>

// The function of that name in the shared library with that file name, which is looked for beside the program
// first, then where the system's loader finds it. The library stays loaded until the program ends. Null when
// there is no such library or function; error then says why, in words for the user.
QFunctionPointer resolveLibraryFunction(const QString& fileName, const char* function, QString& error);

#endif
