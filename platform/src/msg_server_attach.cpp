/*
 * Taking a service name: the run directory, the socket file, the listening socket.
 */
#include "msg_server_inside.h"

#include "guard.h"
#include "msg_chan_trust.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

constexpr int backlog = 1024;
constexpr mode_t dir_mode = 0755;
constexpr mode_t lock_mode = 0600;

/* Makes a directory and what is missing above it, with that mode whatever the umask is. */
static int make_dir(const char *dir)
{
    char path[chan_dir_room];
    snprintf(path, sizeof path, "%s", dir);
    for (char *at = path + 1;; at++) {
        const char here = *at;
        if (here != '/' && here != '\0')
            continue;
        *at = '\0';
        if (mkdir(path, dir_mode) == 0 ? chmod(path, dir_mode) != 0 : errno != EEXIST)
            return errno;
        if (here == '\0')
            return chan_check_dir(dir, chan_role::server);
        *at = here;
    }
}

/* Two servers that start at once must not both take a stale file away, so the attaching goes under a lock of the directory. */
static int lock_dir(const char *dir)
{
    char path[chan_dir_room + 8];
    snprintf(path, sizeof path, "%s/.lock", dir);
    const int fd = open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, lock_mode);
    while (fd >= 0 && flock(fd, LOCK_EX) != 0)
        if (errno != EINTR) {
            close_keeping_errno(fd);
            return -1;
        }
    return fd;
}

/* What stands under the path: 0 when it is a socket that nobody listens on, else an errno value. */
static int check_stale(const sockaddr_un &address)
{
    struct stat file;
    if (lstat(address.sun_path, &file) != 0)
        return errno == ENOENT ? 0 : errno;
    if (!S_ISSOCK(file.st_mode))
        return EEXIST;
    fd_guard probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (probe.get() < 0)
        return errno;
    if (connect(probe.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 || errno == EAGAIN)
        return EADDRINUSE;
    return errno == ECONNREFUSED || errno == ENOENT ? 0 : errno;
}

/* Connecting is not possible before listen(), so nobody comes in before the mode is set. */
static int bind_socket(int fd, const sockaddr_un &address, mode_t mode)
{
    if (bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return errno;
    if (chmod(address.sun_path, mode) == 0 && listen(fd, backlog) == 0)
        return 0;
    const int error = errno;
    unlink(address.sun_path);
    return error;
}

static int take_name(const msg_server *server, int fd, const sockaddr_un &address)
{
    if (const int error = make_dir(server->ms_dir))
        return error;
    fd_guard lock(lock_dir(server->ms_dir));
    if (lock.get() < 0)
        return errno;
    const mode_t mode = server->ms_options.mso_socket_mode;
    int error = bind_socket(fd, address, mode);
    if (error != EADDRINUSE)
        return error;
    error = check_stale(address);
    if (error != 0)
        return error;
    if (unlink(address.sun_path) != 0 && errno != ENOENT)
        return errno;
    return bind_socket(fd, address, mode);
}

static void listener_remove_file(const msg_listener *listener)
{
    struct stat file;
    if (!listener->ml_adopted && lstat(listener->ml_path, &file) == 0 && file.st_dev == listener->ml_device &&
        file.st_ino == listener->ml_inode)
        unlink(listener->ml_path);
}

static int listener_open(msg_server *server, msg_listener *listener, const char *service)
{
    sockaddr_un address;
    if (const int error = chan_service_address(server->ms_dir, service, &address))
        return error;
    const int adopted = server_adopt(address);
    fd_guard fd(adopted >= 0 ? adopted : socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fd.get() < 0)
        return errno;
    listener->ml_adopted = adopted >= 0;
    if (const int error = listener->ml_adopted ? 0 : take_name(server, fd.get(), address))
        return error;
    struct stat file = {};
    lstat(address.sun_path, &file);
    memcpy(listener->ml_path, address.sun_path, sizeof address.sun_path);
    listener->ml_device = file.st_dev;
    listener->ml_inode = file.st_ino;
    listener->es_kind = source_kind::listener;
    listener->es_fd = fd.get();
    listener->ml_service = server->ms_services;
    if (const int error = server_watch(server, listener, server->ms_paused ? 0u : EPOLLIN)) {
        listener_remove_file(listener);
        return error;
    }
    fd.take();
    return 0;
}

int msg_server_attach(msg_server_t *server, const char *service)
{
    auto *listener = server_new<msg_listener>();
    const int error = listener ? listener_open(server, listener, service) : ENOMEM;
    if (error != 0) {
        if (listener)
            server_delete(listener);
        errno = error;
        return -1;
    }
    server->ms_services++;
    server->ms_listeners.push_back(*listener);
    return 0;
}

void listener_delete(msg_server *server, msg_listener *listener)
{
    listener_remove_file(listener);
    close(listener->es_fd);
    server->ms_listeners.erase(server->ms_listeners.iterator_to(*listener));
    server_delete(listener);
}
