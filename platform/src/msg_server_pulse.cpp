/*
 * Pulses to clients. One that finds its manager full waits with the peer, in the server's list; the timer tries it again.
 */
#include "msg_server_inside.h"

#include "event_pulse.h"

#include <cerrno>
#include <cstring>

constexpr unsigned first_retry_ms = 5;

void peer_drop_pulse(msg_peer *peer)
{
    if (!peer->mp_pulse_pending)
        return;
    peer->mp_pulse_pending = false;
    peer->mp_server->ms_pulses.erase(peer->mp_server->ms_pulses.iterator_to(*peer));
}

static void keep_pulse(msg_peer *peer, const struct sigevent *event, uint64_t value)
{
    msg_server *server = peer->mp_server;
    peer->mp_pulse_event = *event;
    peer->mp_pulse_value = value;
    peer->mp_pulse_pending = true;
    server->ms_pulses.push_back(*peer);
    server_start_timer(server, first_retry_ms);
}

/* A client has one event at a time. Should it have named a new one while a pulse waits, the new one takes its place. */
int msg_peer_pulse(msg_peer_t *peer, const struct sigevent *event, uint64_t value)
{
    const bool waits = event && peer->mp_pulse_pending && peer->mp_pulse_value == value &&
                       memcmp(&peer->mp_pulse_event, event, sizeof *event) == 0;
    if (waits)
        return 0;
    const int error = !event ? EINVAL : peer->mp_closing ? ECONNRESET : pulse_send(event, value);
    if (error != 0 && error != EAGAIN) {
        errno = error;
        return -1;
    }
    peer_drop_pulse(peer);
    if (error == EAGAIN)
        keep_pulse(peer, event, value);
    return 0;
}

bool pulses_retry(msg_server *server)
{
    bool progress = false;
    for (auto at = server->ms_pulses.begin(); at != server->ms_pulses.end();) {
        msg_peer *peer = &*at++;
        if (pulse_send(&peer->mp_pulse_event, peer->mp_pulse_value) == EAGAIN)
            continue;
        peer_drop_pulse(peer);
        progress = true;
    }
    return progress;
}
