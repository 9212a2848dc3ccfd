/*
 * Events as bytes, and the sending of pulses.
 */
#include "event_pulse.h"

#include "guard.h"

#include <cstring>
#include <sys/socket.h>

constexpr size_t target_offset = 16;
constexpr size_t name_offset = offsetof(sockaddr_un, sun_path) + 1;

void event_write_target(struct sigevent *event, const event_target &target)
{
    event->sigev_notify = event_notify_pulse;
    memcpy(reinterpret_cast<uint8_t *>(event) + target_offset, &target, sizeof target);
}

/*
 * The server sends where a client's event says, so the name must be one of those that the kernel chooses: no client can
 * direct a datagram of the server at a socket that has a name of its own.
 */
static bool name_is_chosen_by_kernel(const event_target &target)
{
    for (const char digit : target.ev_name)
        if (!(digit >= '0' && digit <= '9') && !(digit >= 'a' && digit <= 'f'))
            return false;
    return true;
}

bool event_read_target(const struct sigevent *event, event_target *target)
{
    memcpy(target, reinterpret_cast<const uint8_t *>(event) + target_offset, sizeof *target);
    return event->sigev_notify == event_notify_pulse && name_is_chosen_by_kernel(*target);
}

event_address event_address_of(const event_target &target)
{
    event_address address = {.ea_socket = {.sun_family = AF_UNIX}, .ea_len = name_offset + event_name_len};
    memcpy(address.ea_socket.sun_path + 1, target.ev_name, event_name_len);
    return address;
}

/*
 * What a manager has not yet read counts against the sending socket. A socket of its own for each pulse keeps a manager that
 * never reads from using up what the others need.
 */
int pulse_send(const struct sigevent *event, uint64_t value)
{
    event_target target;
    if (!event_read_target(event, &target))
        return EINVAL;
    const fd_guard fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (fd.get() < 0)
        return errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM ? EAGAIN : errno;
    const pulse_datagram pulse = {pulse_magic, target.ev_attach, target.ev_token, value};
    const event_address address = event_address_of(target);
    const auto *to = reinterpret_cast<const sockaddr *>(&address.ea_socket);
    for (;;) {
        if (sendto(fd.get(), &pulse, sizeof pulse, MSG_DONTWAIT | MSG_NOSIGNAL, to, address.ea_len) >= 0)
            return 0;
        if (errno != EINTR)
            return errno == ENOBUFS || errno == ENOMEM ? EAGAIN : errno;
    }
}
