/*
 * The table of open channels.
 */
#include "msg_chan_table.h"

#include "guard.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <sched.h>
#include <sys/socket.h>

constexpr unsigned slot_bits = 14;
constexpr uint32_t slot_count = 1u << slot_bits;
constexpr uint32_t generation_end = 1u << (32 - slot_bits);
constexpr uint32_t no_slot = slot_count;

struct channel_slot {
    channel *chan;
    uint32_t generation; // of the channel in it, or the last one
    uint32_t next_free;
};

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static channel_slot slots[slot_count];
static uint32_t slots_touched; // the ones above were never used
static uint32_t first_free = no_slot;
static uint32_t last_connid;

static bool more_than_one_cpu(void)
{
    cpu_set_t set;
    return sched_getaffinity(0, sizeof set, &set) != 0 || CPU_COUNT(&set) > 1;
}

static uint32_t take_slot(void)
{
    if (first_free == no_slot)
        return slots_touched == slot_count ? no_slot : slots_touched++;
    const uint32_t slot = first_free;
    first_free = slots[slot].next_free;
    return slot;
}

static void give_slot_back(uint32_t slot)
{
    slots[slot].chan = nullptr;
    if (slots[slot].generation + 1 == generation_end)
        return;
    slots[slot].next_free = first_free;
    first_free = slot;
}

static int32_t next_connid(void)
{
    last_connid = last_connid == INT32_MAX ? 1 : last_connid + 1;
    return static_cast<int32_t>(last_connid);
}

static void channel_free(channel *chan)
{
    close(chan->fd);
    pthread_mutex_destroy(&chan->turn);
    chan->~channel();
    free(chan);
}

int channel_add(int fd, pid_t server_pid, uint32_t *id)
{
    void *block = calloc(1, sizeof(channel));
    if (!block)
        return ENOMEM;
    mutex_guard guard(&lock);
    const uint32_t slot = take_slot();
    if (slot == no_slot) {
        free(block);
        return EMFILE;
    }
    channel *chan = new (block) channel{.fd = fd, .server_pid = server_pid, .may_stay_awake = more_than_one_cpu(), .users = 1};
    pthread_mutex_init(&chan->turn, nullptr);
    chan->id = ++slots[slot].generation << slot_bits | slot;
    chan->connid = next_connid();
    slots[slot].chan = chan;
    *id = chan->id;
    return 0;
}

/* Under the lock. */
static channel *find(uint32_t id)
{
    channel *chan = slots[id % slot_count].chan;
    return chan && chan->id == id ? chan : nullptr;
}

channel *channel_acquire(uint32_t id)
{
    mutex_guard guard(&lock);
    channel *chan = find(id);
    if (chan)
        chan->users++;
    return chan;
}

void channel_release(channel *chan)
{
    pthread_mutex_lock(&lock);
    const bool last = --chan->users == 0;
    pthread_mutex_unlock(&lock);
    if (last)
        channel_free(chan);
}

bool channel_remove(uint32_t id)
{
    pthread_mutex_lock(&lock);
    channel *chan = find(id);
    if (chan) {
        give_slot_back(id % slot_count);
        shutdown(chan->fd, SHUT_RDWR);
    }
    pthread_mutex_unlock(&lock);
    if (chan)
        channel_release(chan);
    return chan != nullptr;
}

/* Under the lock. The first channel of which matches is true, or NULL. */
template <class matches_t> static const channel *find_where(matches_t matches)
{
    for (uint32_t slot = 0; slot != slots_touched; slot++)
        if (slots[slot].chan && matches(slots[slot].chan))
            return slots[slot].chan;
    return nullptr;
}

int channel_dup(int32_t connid)
{
    mutex_guard guard(&lock);
    const channel *chan = find_where([connid](const channel *each) { return each->connid == connid; });
    return chan ? fcntl(chan->fd, F_DUPFD_CLOEXEC, 0) : -1;
}

bool channel_to_server(pid_t server_pid)
{
    mutex_guard guard(&lock);
    return find_where([server_pid](const channel *each) { return each->server_pid == server_pid; }) != nullptr;
}
