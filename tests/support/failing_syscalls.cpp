/*
 * The wrapped system calls.
 */
#include "tests/support/failing_syscalls.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <poll.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <thread>

struct function_faults {
    std::string_view function;
    int faults[syscall_variants];
};
static const function_faults known[] = {
    {"socket", {EMFILE, ENFILE, ENOBUFS}},
    {"connect", {EINTR, EAGAIN, ECONNREFUSED}},
    {"bind", {ENOMEM}},
    {"getsockname", {ENOBUFS}},
    {"getsockopt", {ENOBUFS}},
    {"setsockopt", {ENOMEM}},
    {"send", {EINTR, SYSCALL_ONE_BYTE, SYSCALL_HALF, EAGAIN, ENOBUFS, EPIPE, ECONNRESET}},
    {"sendmsg", {EINTR, SYSCALL_ONE_BYTE, SYSCALL_HALF, EAGAIN, ENOBUFS, EPIPE, ECONNRESET}},
    {"sendto", {EINTR, EAGAIN, ENOBUFS}},
    {"recv", {EINTR, SYSCALL_ONE_BYTE, SYSCALL_HALF, EAGAIN, ENOMEM, SYSCALL_NOTHING, ECONNRESET}},
    {"recvmsg", {EINTR, EAGAIN, ENOMEM}},
    {"poll", {EINTR, ENOMEM, SYSCALL_NOTHING}},
    {"read", {EINTR, EAGAIN}},
    {"open", {EMFILE, ENFILE}},
    {"fcntl", {EMFILE}},
    {"epoll_create1", {EMFILE, ENOMEM}},
    {"epoll_ctl", {ENOMEM, ENOSPC}},
    {"epoll_wait", {EINTR}},
    {"timerfd_create", {EMFILE, ENOMEM}},
    {"eventfd", {EMFILE}},
    {"accept4", {EINTR, ECONNABORTED, EAGAIN, EMFILE, ENFILE, ENOBUFS}},
    {"mmap", {ENOMEM}},
    {"readlink", {ENOMEM}},
};

struct syscall_plan {
    bool active;
    syscall_thread thread;
    std::thread::id maker;
    unsigned nth; // 0: every period-th
    unsigned variant;
    int fault;
    unsigned period;
    std::string_view function; // "" for any

    unsigned calls;
    bool reached;
    std::string_view failed; // the function that failed last, "" for none
    int failed_how;
};
static std::mutex guard;
static syscall_plan plan;

static int fault_of_call(const function_faults &about)
{
    if (plan.nth != 0) {
        if (++plan.calls != plan.nth)
            return 0;
        plan.reached = true;
        return about.faults[plan.variant];
    }
    const bool concerned = (plan.function.empty() || plan.function == about.function) &&
                           std::count(std::begin(about.faults), std::end(about.faults), plan.fault) != 0;
    if (!concerned || ++plan.calls % plan.period != 0)
        return 0;
    plan.reached = true;
    return plan.fault;
}

/* Counts a call; its fault, 0 when it has none. */
static int next_fault(std::string_view function)
{
    const std::lock_guard lock(guard);
    if (!plan.active || (plan.maker == std::this_thread::get_id()) != (plan.thread == syscall_thread::mine))
        return 0;
    const auto *about =
        std::find_if(std::begin(known), std::end(known), [&](const auto &each) { return each.function == function; });
    const int fault = fault_of_call(*about);
    if (fault != 0) {
        plan.failed = about->function;
        plan.failed_how = fault;
    }
    return fault;
}

failing_syscalls::failing_syscalls(syscall_thread thread, unsigned nth, unsigned variant)
{
    const std::lock_guard lock(guard);
    plan = {.active = true, .thread = thread, .maker = std::this_thread::get_id(), .nth = nth, .variant = variant};
}
failing_syscalls::failing_syscalls(syscall_thread thread, int fault, unsigned period, const char *function)
{
    const std::lock_guard lock(guard);
    plan = {.active = true,
            .thread = thread,
            .maker = std::this_thread::get_id(),
            .fault = fault,
            .period = period,
            .function = function};
}
failing_syscalls::~failing_syscalls()
{
    const std::lock_guard lock(guard);
    plan.active = false;
}

bool failing_syscalls::reached() const
{
    const std::lock_guard lock(guard);
    return plan.reached;
}
std::string failing_syscalls::told() const
{
    const std::lock_guard lock(guard);
    if (plan.failed.empty())
        return "";
    const char *how = plan.failed_how == SYSCALL_ONE_BYTE  ? "1 byte"
                      : plan.failed_how == SYSCALL_HALF    ? "half"
                      : plan.failed_how == SYSCALL_NOTHING ? "0"
                                                           : strerrorname_np(plan.failed_how);
    return std::string(plan.failed) + ": " + how;
}
bool failing_syscalls::harmless() const
{
    const std::lock_guard lock(guard);
    const int how = plan.failed_how;
    return how == EINTR || how == SYSCALL_ONE_BYTE || how == SYSCALL_HALF;
}

/* What a call with a fault returns that does nothing. */
static int fail(int fault)
{
    if (fault == SYSCALL_NOTHING)
        return 0;
    errno = fault;
    return -1;
}
static size_t cut(size_t len, int fault)
{
    if (fault == SYSCALL_ONE_BYTE)
        return std::min<size_t>(len, 1);
    return fault == SYSCALL_HALF ? (len + 1) / 2 : len;
}
static bool cuts(int fault)
{
    return fault == SYSCALL_ONE_BYTE || fault == SYSCALL_HALF;
}

#define WRAPPED(type, function, parameters)                                                                                      \
    extern "C" type __real_##function parameters;                                                                                \
    extern "C" __attribute__((visibility("default"))) type __wrap_##function parameters;                                         \
    type __wrap_##function parameters

/* Of calls that do all or nothing. */
#define WHOLE(function, parameters, arguments)                                                                                   \
    WRAPPED(int, function, parameters)                                                                                           \
    {                                                                                                                            \
        const int fault = next_fault(#function);                                                                                 \
        return fault ? fail(fault) : __real_##function arguments;                                                                \
    }
WHOLE(socket, (int domain, int type, int protocol), (domain, type, protocol))
WHOLE(connect, (int fd, const sockaddr *to, socklen_t len), (fd, to, len))
WHOLE(bind, (int fd, const sockaddr *to, socklen_t len), (fd, to, len))
WHOLE(getsockname, (int fd, sockaddr *name, socklen_t *len), (fd, name, len))
WHOLE(getsockopt, (int fd, int level, int option, void *value, socklen_t *len), (fd, level, option, value, len))
WHOLE(setsockopt, (int fd, int level, int option, const void *value, socklen_t len), (fd, level, option, value, len))
WHOLE(accept4, (int fd, sockaddr *from, socklen_t *len, int flags), (fd, from, len, flags))
WHOLE(poll, (pollfd * fds, nfds_t count, int timeout), (fds, count, timeout))
WHOLE(epoll_create1, (int flags), (flags))
WHOLE(epoll_ctl, (int set, int operation, int fd, epoll_event *event), (set, operation, fd, event))
WHOLE(epoll_wait, (int set, epoll_event *events, int room, int timeout), (set, events, room, timeout))
WHOLE(timerfd_create, (int clock, int flags), (clock, flags))
WHOLE(eventfd, (unsigned first, int flags), (first, flags))

WRAPPED(int, open, (const char *path, int flags, ...))
{
    va_list more;
    va_start(more, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(more, mode_t) : 0;
    va_end(more);
    const int fault = next_fault("open");
    return fault ? fail(fault) : __real_open(path, flags, mode);
}
WRAPPED(int, fcntl, (int fd, int command, ...))
{
    va_list more;
    va_start(more, command);
    const long argument = va_arg(more, long);
    va_end(more);
    const int fault = next_fault("fcntl");
    return fault ? fail(fault) : __real_fcntl(fd, command, argument);
}
WRAPPED(ssize_t, readlink, (const char *path, char *area, size_t room))
{
    const int fault = next_fault("readlink");
    return fault ? fail(fault) : __real_readlink(path, area, room);
}
WRAPPED(ssize_t, read, (int fd, void *area, size_t room))
{
    const int fault = next_fault("read");
    return fault ? fail(fault) : __real_read(fd, area, room);
}
WRAPPED(void *, mmap, (void *at, size_t len, int protection, int flags, int fd, off_t offset))
{
    const int fault = next_fault("mmap");
    return fault ? fail(fault), MAP_FAILED : __real_mmap(at, len, protection, flags, fd, offset);
}
WRAPPED(ssize_t, send, (int fd, const void *bytes, size_t len, int flags))
{
    const int fault = next_fault("send");
    return fault && !cuts(fault) ? fail(fault) : __real_send(fd, bytes, cut(len, fault), flags);
}
WRAPPED(ssize_t, sendto, (int fd, const void *bytes, size_t len, int flags, const sockaddr *to, socklen_t to_len))
{
    const int fault = next_fault("sendto");
    return fault ? fail(fault) : __real_sendto(fd, bytes, len, flags, to, to_len);
}
WRAPPED(ssize_t, sendmsg, (int fd, const msghdr *message, int flags))
{
    const int fault = next_fault("sendmsg");
    if (!cuts(fault))
        return fault ? fail(fault) : __real_sendmsg(fd, message, flags);
    size_t len = 0;
    for (size_t i = 0; i != message->msg_iovlen; i++)
        len += message->msg_iov[i].iov_len;
    size_t left = cut(len, fault);
    iovec parts[8];
    msghdr shorter = *message;
    shorter.msg_iov = parts;
    for (size_t i = 0; i != message->msg_iovlen; i++) {
        parts[i] = {message->msg_iov[i].iov_base, std::min(left, message->msg_iov[i].iov_len)};
        left -= parts[i].iov_len;
    }
    return __real_sendmsg(fd, &shorter, flags);
}
/* Whoever looks again and again whether something has come has one call counted, the one that finds it. */
WRAPPED(ssize_t, recv, (int fd, void *area, size_t room, int flags))
{
    char byte;
    const bool looks_only = (flags & MSG_DONTWAIT) != 0 && __real_recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0;
    const int fault = looks_only ? 0 : next_fault("recv");
    return fault && !cuts(fault) ? fail(fault) : __real_recv(fd, area, cut(room, fault), flags);
}
WRAPPED(ssize_t, recvmsg, (int fd, msghdr *message, int flags))
{
    const int fault = next_fault("recvmsg");
    return fault ? fail(fault) : __real_recvmsg(fd, message, flags);
}
