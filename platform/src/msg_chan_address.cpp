/*
 * Service names, the run directory, and the greeting.
 */
#include "msg_chan_address.h"

#include <platform/identity.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

constexpr size_t service_name_max = 80;

static int print_path(char *path, size_t room, const char *first, const char *second)
{
    const int len = snprintf(path, room, "%s%s", first, second);
    return len >= 0 && static_cast<size_t>(len) < room ? 0 : ENAMETOOLONG;
}

/* The environment does not choose the directory of a program that runs with another user's rights. */
int chan_run_dir(const char *dir, char *path, size_t room)
{
    if (!dir)
        dir = secure_getenv("MSG_CHAN_DIR");
    if (dir && *dir)
        return print_path(path, room, dir, "");
    if (geteuid() == 0)
        return print_path(path, room, "/run/msg_chan", "");
    const char *run = secure_getenv("XDG_RUNTIME_DIR");
    return run && *run ? print_path(path, room, run, "/msg_chan") : ENOENT;
}

/* A socket file lies flat in the run directory: "/dev/ip/ipv6_rib" is "dev_ip_ipv6_rib". */
int chan_service_address(const char *dir, const char *service, sockaddr_un *address)
{
    if (!service)
        return EINVAL;
    char name[service_name_max + 2];
    const size_t len = strnlen(service, sizeof name);
    if (len > service_name_max)
        return EINVAL;
    memcpy(name, service, len + 1);
    char *flat = name[0] == '/' ? name + 1 : name;
    if (*flat == '\0' || *flat == '.')
        return EINVAL;
    for (char *at = flat; *at; at++)
        if (*at == '/')
            *at = '_';
    *address = {.sun_family = AF_UNIX};
    const int printed = snprintf(address->sun_path, sizeof address->sun_path, "%s/%s", dir, flat);
    return printed >= 0 && static_cast<size_t>(printed) < sizeof address->sun_path ? 0 : ENAMETOOLONG;
}

int chan_socket_options(int fd)
{
    return setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &chan_send_buffer, sizeof chan_send_buffer) == 0 ? 0 : errno;
}

int chan_hello(hello_frame *hello)
{
    *hello = {{frame_hello, sizeof(hello_body), 0, 0}, {.he_protocol = chan_protocol, .he_pid = getpid()}};
    return platform_get_my_nodeid(&hello->body.he_node_id) == 0 ? 0 : errno;
}

int chan_send_hello(int fd, const hello_frame &hello, int flags)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(&hello);
    for (size_t sent = 0; sent != sizeof hello;) {
        const ssize_t got = send(fd, bytes + sent, sizeof hello - sent, flags | MSG_NOSIGNAL);
        if (got < 0 && errno != EINTR)
            return errno;
        sent += got < 0 ? 0 : static_cast<size_t>(got);
    }
    return 0;
}
