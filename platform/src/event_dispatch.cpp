/*
 * Dispatching an event manager: every source that is ready runs. That of the pulses takes in those that wait, checks and
 * merges them; then their handlers run.
 */
#include "event_manager.h"

#include "clock.h"
#include "guard.h"
#include "msg_chan_table.h"

#include <algorithm>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

/* Different pulses of one round, and datagrams read for them; what is left keeps the manager readable. */
constexpr size_t round_pulses = 64;
constexpr size_t round_datagrams = 1024;
/* Sources of one round; the set reports the others first in the next. */
constexpr int round_sources = 16;

struct waiting_pulse {
    uint32_t attach;
    uint64_t value;
};

struct pulse_round {
    waiting_pulse pulses[round_pulses];
    size_t count;
};

/* Waits until sources are ready. Their number, 0 when the time is over, or -1 with errno. */
static int wait_ready(const event_manager *manager, epoll_event *ready, int timeout_ms)
{
    const int64_t deadline = now_ms() + timeout_ms;
    for (;;) {
        const int count = epoll_wait(manager->em_epoll, ready, round_sources, timeout_ms);
        if (count >= 0 || errno != EINTR)
            return count;
        if (timeout_ms > 0)
            timeout_ms = static_cast<int>(std::max<int64_t>(deadline - now_ms(), 0));
    }
}

/*
 * Reads one datagram with the sender's process id, which the kernel vouches for. Bytes read, or -1 when none waits. There is
 * room for the credentials alone, so that a sender cannot leave descriptors with us.
 */
static ssize_t read_datagram(const event_manager *manager, pulse_datagram *pulse, pid_t *sender)
{
    alignas(cmsghdr) uint8_t control[CMSG_SPACE(sizeof(ucred))];
    iovec part = {pulse, sizeof *pulse};
    msghdr message = {.msg_iov = &part, .msg_iovlen = 1, .msg_control = control, .msg_controllen = sizeof control};
    const ssize_t got = recvmsg(manager->em_socket, &message, MSG_DONTWAIT | MSG_TRUNC | MSG_CMSG_CLOEXEC);
    *sender = -1;
    const cmsghdr *header = got < 0 ? nullptr : CMSG_FIRSTHDR(&message);
    if (header && header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_CREDENTIALS) {
        ucred credentials;
        memcpy(&credentials, CMSG_DATA(header), sizeof credentials);
        *sender = credentials.pid;
    }
    return got;
}

/* A pulse counts when its sender was given the event and is a server that this process has a channel to. */
static bool is_genuine(const event_manager *manager, const pulse_datagram &pulse, ssize_t len, pid_t sender)
{
    return len == sizeof pulse && pulse.pd_magic == pulse_magic && pulse.pd_token == manager->em_target.ev_token &&
           channel_to_server(sender);
}

static void merge(pulse_round *round, const pulse_datagram &pulse)
{
    for (size_t i = 0; i != round->count; i++)
        if (round->pulses[i].attach == pulse.pd_attach && round->pulses[i].value == pulse.pd_value)
            return;
    round->pulses[round->count++] = {pulse.pd_attach, pulse.pd_value};
}

static void take_in(const event_manager *manager, pulse_round *round)
{
    for (size_t read = 0; read != round_datagrams && round->count != round_pulses; read++) {
        pulse_datagram pulse = {};
        pid_t sender;
        const ssize_t len = read_datagram(manager, &pulse, &sender);
        if (len < 0 && errno != EINTR)
            return;
        if (is_genuine(manager, pulse, len, sender))
            merge(round, pulse);
    }
}

/* Whether a value is armed is looked up last of all: a handler of this very round may have disarmed it. */
static bool find_handler(const event_manager *manager, const waiting_pulse &pulse, event_attachment *attachment)
{
    mutex_guard guard(&event_lock);
    if (!event_find_armed(manager, pulse.attach, pulse.value))
        return false;
    *attachment = manager->em_attached[pulse.attach];
    return true;
}

int event_run_pulses(event_source *source, uint32_t)
{
    const auto *manager = reinterpret_cast<const event_manager *>(source);
    pulse_round round = {};
    take_in(manager, &round);
    int handlers = 0;
    for (size_t i = 0; i != round.count; i++) {
        event_attachment attachment;
        if (!find_handler(manager, round.pulses[i], &attachment))
            continue;
        attachment.ea_handler(reinterpret_cast<void *>(round.pulses[i].value), attachment.ea_code, attachment.ea_context);
        handlers++;
    }
    return handlers;
}

static int run_source(const event_manager *manager, const epoll_event &ready)
{
    event_source *source = event_source_acquire(manager, ready.data.u64);
    if (!source)
        return 0;
    const int handlers = source->es_ready(source, ready.events);
    event_source_release(source);
    return handlers;
}

int event_manager_dispatch(event_manager_t *manager, int timeout_ms)
{
    if (!manager) {
        errno = EINVAL;
        return -1;
    }
    epoll_event ready[round_sources];
    const int count = wait_ready(manager, ready, timeout_ms);
    int handlers = count < 0 ? -1 : 0;
    for (int i = 0; i < count; i++)
        handlers += run_source(manager, ready[i]);
    return handlers;
}
