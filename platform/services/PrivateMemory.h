#ifndef PRIVATEMEMORY_H
#define PRIVATEMEMORY_H

#include <sys/prctl.h>
#include <sys/resource.h>

// What a program that holds passwords does first: no core of it is written, and no other program of the user
// may read its memory. A look for leaks by AddressSanitizer still may.
inline void keepMemoryPrivate()
{
    constexpr rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
#ifndef __SANITIZE_ADDRESS__
    prctl(PR_SET_DUMPABLE, 0);
#endif
}

#endif
