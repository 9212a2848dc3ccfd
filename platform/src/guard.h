/*
 * Holds a mutex, or a descriptor, for as long as a block runs.
 */
#pragma once

#include <cerrno>
#include <pthread.h>
#include <unistd.h>
#include <utility>

class mutex_guard
{
public:
    explicit mutex_guard(pthread_mutex_t *mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
    ~mutex_guard() { pthread_mutex_unlock(mutex_); }
    mutex_guard(const mutex_guard &) = delete;
    mutex_guard &operator=(const mutex_guard &) = delete;

private:
    pthread_mutex_t *mutex_;
};

/* close() that leaves errno to the failure that led to it. */
inline void close_keeping_errno(int fd)
{
    const int kept = errno;
    close(fd);
    errno = kept;
}

class fd_guard
{
public:
    explicit fd_guard(int fd) : fd_(fd) {}
    ~fd_guard()
    {
        if (fd_ >= 0)
            close_keeping_errno(fd_);
    }
    fd_guard(const fd_guard &) = delete;
    fd_guard &operator=(const fd_guard &) = delete;

    int get() const { return fd_; }
    /* The descriptor now belongs to the caller. */
    int take() { return std::exchange(fd_, -1); }

private:
    int fd_;
};
