#ifndef KEEPER_H
#define KEEPER_H

#include "DaemonSocket.h"

#include <sys/types.h>

// Keeps a daemon running: holds the socket, so that clients wait while there is no daemon, and starts the
// daemon as a process of its own, anew whenever that ends. It speaks no SIP and reads no settings.
//
// A daemon that ends is replaced at once. When one after the other does not last for some seconds, growing
// pauses of less than a second come between them.
class Keeper
{
public:
    // Starts this process's program with the same arguments as its daemon.
    explicit Keeper(char** arguments) : arguments_(arguments) {}
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;

    // Until SIGTERM, SIGINT or SIGHUP, which it passes on. Then it waits for the daemon to end, for some
    // seconds. The exit status.
    int run();

private:
    using Time = BootClock::time_point;

    void start();
    void becomeDaemon(int channel) const;
    void wait() const;
    void handleSignals();
    void handleEnd(int status);
    void planStart();
    int end();

    char** const arguments_;
    DaemonSocket socket_;
    int signals_ = -1;
    int endedBy_ = 0;       // the signal
    pid_t daemon_ = -1;     // -1 while there is none
    int channel_ = -1;      // to the daemon
    bool isUnsent_ = false; // the daemon has to be told of another socket
    int shortLived_ = 0;    // daemons in a row that did not last
    Time started_;
    Time nextStart_;
};

#endif
