// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DAEMONSOCKET_H
#define DAEMONSOCKET_H

#include "DaemonLock.h"

#include <functional>
#include <string>
#include <sys/types.h>

// The socket that the daemon listens on: its own at the fixed path, with mode 0600 from the start, or one
// that a service manager or a Keeper passed to this process (LISTEN_PID, LISTEN_FDS).
//
// While it is open, no second daemon of this user can open one. When somebody removes its file, it makes a
// new one. It never replaces the file of somebody else, but waits until that is gone. A Keeper's daemon
// leaves both to the Keeper.
class DaemonSocket
{
public:
    DaemonSocket() = default;
    ~DaemonSocket() { remove(); }
    DaemonSocket(const DaemonSocket&) = delete;
    DaemonSocket& operator=(const DaemonSocket&) = delete;

    // Whether this process is a Keeper's daemon. Call it before open().
    static bool isKept();

    // Returns an empty string, or the reason for the failure. Replaces a socket file of this user on which
    // nobody listens, but never that of a running daemon or of another user. Does not block.
    std::string open();

    // Closes the socket. Removes the socket file only if open() or handleChange() made it.
    void remove();

    // Non-blocking; -1 without open().
    int fd() const { return fd_.get(); }

    // Call handleChange() when this is readable; -1 for never.
    int watchFd() const { return watchFd_.get(); }
    // Makes the removed file again, or receives another socket from the Keeper. Calls onReplaced when fd()
    // has changed; the former socket, at which clients may wait, is closed after that. Returns false when
    // the Keeper has gone.
    bool handleChange(const std::function<void()>& onReplaced);

    // Whether clients cannot reach fd(), since its file could not be made. handleChange() tries again.
    bool isAway() const { return isAway_; }

    // Passes the socket, and the daemon's end of the channel, to the program that this process, a child of
    // the Keeper, executes next.
    void handOver(int channel) const;
    // Sends fd() to the daemon at the other end of the channel. Returns false when the caller must try again
    // later.
    bool sendTo(int channel) const;

private:
    std::string takeOver();
    std::string takeOverFromKeeper();
    std::string openOwn();
    std::string bindOwn();
    void watchPlace();
    void restoreFile(const std::function<void()>& onReplaced);
    bool receiveSocket(const std::function<void()>& onReplaced);

    FileDescriptor fd_;
    FileDescriptor watchFd_; // of inotify, or the Keeper's channel
    int watch_ = -1;
    bool isKeepersDaemon_ = false;
    bool isOwn_ = false; // made here, not passed to this process
    bool isAway_ = false;
    std::string awayReason_; // the last one in the log
    ino_t inode_ = 0;        // of the socket's file; 0 when it has none
    DaemonLock lock_;
    FileDescriptor spareFd_; // closed to make room for a socket from the Keeper
};

#endif
