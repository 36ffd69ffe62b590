#include "ORMU_Diagnostics.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

const char* sourceBaseName(const char* path)
{
    const char* base = path;
    for (const char* p = path; *p != '\0'; ++p)
        if (*p == '/')
            base = p + 1;
    return base;
}

void ormuLog(OrmuLogLevel level, const char* file, int line, const char* function, const char* format, ...)
{
    const int savedErrno = errno;
    // Under the stream's lock, so that lines of several threads do not run into each other.
    flockfile(stderr);
    std::fprintf(stderr, "{%d} %s:%d", level, sourceBaseName(file), line);
    if (function != nullptr)
        std::fprintf(stderr, ", %s()", function);
    std::fputc('\t', stderr);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    std::fputc('\n', stderr);
    funlockfile(stderr);
    errno = savedErrno;
}

void ormuAssertFailed(const char* file, int line)
{
    std::fprintf(stderr, "{%d} %s:%d\tormu assert failed !\n\n", ORMU_LEVEL_ERROR, sourceBaseName(file),
                 line);
    std::abort();
}
