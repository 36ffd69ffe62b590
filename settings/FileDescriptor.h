// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef FILEDESCRIPTOR_H
#define FILEDESCRIPTOR_H

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// Owns a file descriptor and closes it; closing leaves errno as it was. A negative one is none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~FileDescriptor()
    {
        const int error = errno;
        if (isOpen())
            close(fd_);
        errno = error;
    }

    bool isOpen() const { return fd_ >= 0; }
    int get() const { return fd_; }
    // The caller owns the result.
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

inline bool isSameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

#endif
