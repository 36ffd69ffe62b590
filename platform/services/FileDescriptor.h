#ifndef FILEDESCRIPTOR_H
#define FILEDESCRIPTOR_H

#include <cerrno>
#include <unistd.h>
#include <utility>

// A file descriptor, closed with this object, which leaves errno as it was. One below 0 is none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    ~FileDescriptor()
    {
        const int error = errno;
        if (isOpen())
            close(fd_);
        errno = error;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isOpen() const { return fd_ >= 0; }
    int get() const { return fd_; }
    void swap(FileDescriptor& other) { std::swap(fd_, other.fd_); }
    // Gives it away: it is the caller's to close.
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

#endif
