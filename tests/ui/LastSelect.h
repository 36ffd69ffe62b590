// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef LASTSELECT_H
#define LASTSELECT_H

#include <sys/time.h>

// The arguments of the screens' last call of select, which goes on to the system. For programs that are
// linked with --wrap=select.
struct LastSelect
{
    int nfds;
    bool readAlone; // no other set
    int inSet;      // the number of descriptors
    timeval timeout;

    int fd() const { return nfds - 1; }
};
extern LastSelect lastSelect;

// Waits until the descriptor is readable, without a limit when timeoutMs is -1.
bool waitForAnswer(int timeoutMs = -1);

#endif
