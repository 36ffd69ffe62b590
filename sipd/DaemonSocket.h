#ifndef DAEMONSOCKET_H
#define DAEMONSOCKET_H

#include "DaemonLock.h"

#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>

// The socket that the daemon listens on: its own at the fixed path, mode 0600 from its first moment, or one
// handed over (LISTEN_PID, LISTEN_FDS) by a service manager or by a Keeper.
//
// As long as it is open, no second daemon of this user opens one. Its file is made anew when somebody removes
// it; what somebody else puts in its place is left alone, until that goes. A Keeper's daemon leaves both to
// the Keeper.
class DaemonSocket
{
public:
    DaemonSocket() = default;
    ~DaemonSocket();
    DaemonSocket(const DaemonSocket&) = delete;
    DaemonSocket& operator=(const DaemonSocket&) = delete;

    // Whether this process is a Keeper's daemon. Before open().
    static bool isKept();

    // Empty, or why there is no listening, in words. A socket file of this user that nobody listens on is
    // replaced; that of a living daemon is not, nor another user's. Does not block.
    std::string open();

    // Closes it, and removes the socket file that it made, and no other.
    void remove();

    // Non-blocking; -1 without open().
    int fd() const { return fd_; }

    // Readable when handleChange() is to be called; -1 when that is never.
    int watchFd() const { return watchFd_; }
    // Calls onReplaced when fd() is another socket now. The former, which may have clients that have not been
    // accepted, is closed after that. False when the Keeper has gone.
    bool handleChange(const std::function<void(int former)>& onReplaced);

    // Whether clients cannot reach fd(), since its file could not be made anew. handleChange() tries again.
    bool isAway() const { return isAway_; }

    // Hands it over in a child of this process, right before that executes the daemon. channel: the daemon's
    // end.
    void handOver(int channel) const;
    // Tells the daemon at the other end of the channel that fd() is another socket now. False when that is to
    // be tried again later.
    bool sendTo(int channel) const;

private:
    std::string takeOver();
    std::string takeOverFromKeeper();
    std::string openOwn();
    std::string bindOwn();
    void watchPlace();
    void restoreFile(const std::function<void(int former)>& onReplaced);
    bool receiveSocket(const std::function<void(int former)>& onReplaced);

    int fd_ = -1;
    int watchFd_ = -1; // of inotify, or the Keeper's channel
    int watch_ = -1;
    bool isKept_ = false;
    bool isOwn_ = false; // made here, not handed over
    bool isAway_ = false;
    std::string awayReason_; // as it was logged last
    ino_t inode_ = 0;        // of its file; 0 when there was none
    DaemonLock lock_;
    std::unique_ptr<OwnedFd> spareFd_; // given up for a socket from the Keeper
};

#endif
