#ifndef STRANGER_AT_SOCKET_H
#define STRANGER_AT_SOCKET_H

#include <sys/types.h>

// What another user, "nobody", may have at the daemon's path: the socket file, the process that listens, or
// both. The process lets everybody connect, and never answers. Only root can make one.
class StrangerAtSocket
{
public:
    enum Part { File, Process, Both };

    static constexpr uid_t USER = 65534;
    static constexpr const char* NAME = "nobody";

    // It listens when this returns, or the test has failed.
    explicit StrangerAtSocket(Part part);
    ~StrangerAtSocket(); // ends the process and removes the file
    StrangerAtSocket(const StrangerAtSocket&) = delete;
    StrangerAtSocket& operator=(const StrangerAtSocket&) = delete;

private:
    pid_t process_ = -1;
};

#endif
