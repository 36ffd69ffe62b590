// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMU_DIAGNOSTICS_H
#define ORMU_DIAGNOSTICS_H

// The library's diagnostics: one line each on standard error, in one write, from any thread.
//
//   ORMU_LOG(level, format, ...)               "{level} file:line\tmessage"
//   ORMU_LOG_FUNCTION(level, format, ...)      "{level} file:line, function()\tmessage"
//   ORMU_LOG_AS(function, level, format, ...)  the same, with that name of a function
//   ORMU_ASSERT(condition)                     reports "ormu assert failed !" and aborts unless the condition
//                                              holds. Always compiled in.
//
// The format is a string literal for printf. errno stays as it was.

enum OrmuLogLevel { ORMU_LEVEL_ERROR = 1, ORMU_LEVEL_INFO = 4 };

// The part of path after its last '/', or the whole path when it has none. Points into path.
constexpr const char* sourceBaseName(const char* path)
{
    const char* base = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '/')
            base = p + 1;
    }
    return base;
}

// Prints to standard error, unbuffered.
void ormuPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));

[[noreturn]] void ormuAssertFailed(const char* file, int line);

#define ORMU_LOG(level, format, ...)                                                                         \
    ormuPrint("{%d} %s:%d\t" format "\n", level, sourceBaseName(__FILE__),                                   \
              __LINE__ __VA_OPT__(, ) __VA_ARGS__)
#define ORMU_LOG_FUNCTION(level, format, ...) ORMU_LOG_AS(__func__, level, format __VA_OPT__(, ) __VA_ARGS__)
#define ORMU_LOG_AS(function, level, format, ...)                                                            \
    ormuPrint("{%d} %s:%d, %s()\t" format "\n", level, sourceBaseName(__FILE__), __LINE__,                   \
              function __VA_OPT__(, ) __VA_ARGS__)
#define ORMU_ASSERT(condition) ((condition) ? static_cast<void>(0) : ormuAssertFailed(__FILE__, __LINE__))

#endif
