#ifndef PRIVATEMEMORY_H
#define PRIVATEMEMORY_H

#include <sys/prctl.h>

// Keeps what this process has in memory, passwords among it, out of core files and from other processes of
// its user. Under AddressSanitizer it does nothing: the leak check traces the process.
inline void keepMemoryPrivate()
{
#ifndef __SANITIZE_ADDRESS__
    prctl(PR_SET_DUMPABLE, 0);
#endif
}

#endif
