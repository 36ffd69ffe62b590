#ifndef DAEMONLOCK_H
#define DAEMONLOCK_H

#include "EventLoop.h"

#include <memory>
#include <string>
#include <vector>

// The right to be this user's daemon at the socket's place, whether the socket's file is there or not. Only
// this user can hold it: it is on files in directories that are the user's own, whatever the environment
// says. The kernel drops it with the process.
class DaemonLock
{
public:
    enum class Outcome {
        Held,
        Taken,  // by another daemon of this user
        NoPlace // the user has no directory for it
    };

    // Does not wait.
    Outcome take();
    void release() { files_.clear(); }

private:
    std::vector<std::unique_ptr<OwnedFd>> files_;
};

#endif
