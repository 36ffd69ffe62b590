#ifndef ORMU_DIAGNOSTICS_H
#define ORMU_DIAGNOSTICS_H

// The diagnostics of the whole library: one line each on standard error, unbuffered, from any thread.
//
//   ORMU_LOG(level, format, ...)           "{level} file:line\tmessage"
//   ORMU_LOG_FUNCTION(level, format, ...)  "{level} file:line, function()\tmessage"
//   ORMU_ASSERT(condition)                 does nothing when the condition holds; otherwise reports
//                                          "ormu assert failed !" and aborts. Always compiled in.
//
// The format is printf's. errno is left as it was.

enum OrmuLogLevel { ORMU_LEVEL_ERROR = 1, ORMU_LEVEL_INFO = 4 };

// The part of path after its last '/'; the whole path when it has none. Points into path.
const char* sourceBaseName(const char* path);

// function may be null: the line then does not name one.
void ormuLog(OrmuLogLevel level, const char* file, int line, const char* function, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

[[noreturn]] void ormuAssertFailed(const char* file, int line);

#define ORMU_LOG(level, ...) ormuLog(level, __FILE__, __LINE__, nullptr, __VA_ARGS__)
#define ORMU_LOG_FUNCTION(level, ...) ormuLog(level, __FILE__, __LINE__, __func__, __VA_ARGS__)
#define ORMU_ASSERT(condition) ((condition) ? static_cast<void>(0) : ormuAssertFailed(__FILE__, __LINE__))

#endif
