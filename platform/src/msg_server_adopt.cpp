/*
 * Listening sockets that a service manager opened: descriptors from 3 on, as many as LISTEN_FDS says, when LISTEN_PID is this
 * process. Each belongs to the service whose socket file it is bound to.
 */
#include "msg_server_inside.h"

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

constexpr int first_passed = 3;

static long number_in(const char *variable)
{
    const char *text = secure_getenv(variable);
    return text ? strtol(text, nullptr, 10) : 0;
}

static bool listens_at(int fd, const sockaddr_un &address)
{
    sockaddr_un bound = {};
    socklen_t len = sizeof bound;
    int listens = 0;
    socklen_t size = sizeof listens;
    return getsockname(fd, reinterpret_cast<sockaddr *>(&bound), &len) == 0 && bound.sun_family == AF_UNIX &&
           strncmp(bound.sun_path, address.sun_path, sizeof bound.sun_path) == 0 &&
           getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0;
}

int server_adopt(const sockaddr_un &address)
{
    const long count = number_in("LISTEN_PID") == getpid() ? number_in("LISTEN_FDS") : 0;
    for (int fd = first_passed; fd < first_passed + count; fd++)
        if (listens_at(fd, address) && fcntl(fd, F_SETFD, FD_CLOEXEC) == 0 && fcntl(fd, F_SETFL, O_NONBLOCK) == 0)
            return fd;
    return -1;
}
