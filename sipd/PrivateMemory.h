#ifndef PRIVATEMEMORY_H
#define PRIVATEMEMORY_H

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

// What a program that holds passwords does first: no core of it is written, no other program of the user may
// read its memory, and the files that it makes are for the user alone.
inline void keepMemoryPrivate()
{
    constexpr rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    umask(0077);
#ifndef ORMU_SANITIZED
    // The sanitizers' look for leaks reads it as another program.
    prctl(PR_SET_DUMPABLE, 0);
#endif
}

#endif
