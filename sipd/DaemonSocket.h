#ifndef DAEMONSOCKET_H
#define DAEMONSOCKET_H

#include <string>
#include <sys/types.h>

// The socket that the daemon listens on: one handed over by the service manager (LISTEN_PID, LISTEN_FDS), or
// its own at the fixed path, mode 0600 from its first moment.
class DaemonSocket
{
public:
    DaemonSocket() = default;
    ~DaemonSocket() { remove(); }
    DaemonSocket(const DaemonSocket&) = delete;
    DaemonSocket& operator=(const DaemonSocket&) = delete;

    // Empty, or why there is no listening, in words. A socket file that nobody listens on is replaced; that
    // of a living daemon is not. Blocks, for a second at most, while another daemon does the same.
    std::string open();

    // Closes it, and removes the socket file that open() made, and no other.
    void remove();

    // Non-blocking; -1 without open().
    int fd() const { return fd_; }

private:
    std::string takeOver();
    std::string bindOwn();

    int fd_ = -1;
    bool isOwn_ = false;
    ino_t inode_ = 0; // of our own socket file
};

#endif
