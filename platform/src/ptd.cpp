/*
 * Blocked-thread diagnostics. A waiting thread holds one slot of a table; a slot's stamp tells whether it is free, being
 * filled or filled, and changes with every use, so that a reader notices a slot that changed under it. No side ever waits.
 */
#include <platform/ptd.h>

#include <atomic>
#include <unistd.h>

constexpr size_t ptd_slots = 1024;
constexpr size_t ptd_no_slot = ptd_slots;

/* Stamp modulo 4. */
enum : uint32_t { ptd_free = 0, ptd_filling = 1, ptd_filled = 2 };

struct ptd_slot {
    std::atomic<uint32_t> stamp;
    std::atomic<int> thread;
    std::atomic<const pthread_mutex_t *> mutex;
    std::atomic<const char *> function;
    std::atomic<unsigned> line;
};

static ptd_slot slots[ptd_slots];
/* Waiting threads that found no slot are at least counted. */
static std::atomic<size_t> without_slot;
static thread_local size_t own_slot = ptd_no_slot;

static size_t claim_slot(size_t start)
{
    for (size_t tried = 0; tried != ptd_slots; tried++) {
        const size_t at = (start + tried) % ptd_slots;
        uint32_t stamp = slots[at].stamp.load(std::memory_order_relaxed);
        if (stamp % 4 == ptd_free && slots[at].stamp.compare_exchange_strong(stamp, stamp + ptd_filling))
            return at;
    }
    return ptd_no_slot;
}

void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *function, unsigned line)
{
    const int thread = gettid();
    own_slot = claim_slot(static_cast<size_t>(thread));
    if (own_slot == ptd_no_slot) {
        without_slot++;
        return;
    }
    ptd_slot &slot = slots[own_slot];
    slot.thread = thread;
    slot.mutex = mutex;
    slot.function = function;
    slot.line = line;
    slot.stamp += ptd_filled - ptd_filling;
}

void ptd_unset_mutex_block(void)
{
    if (own_slot == ptd_no_slot) {
        without_slot--;
        return;
    }
    slots[own_slot].stamp += 4 - ptd_filled;
    own_slot = ptd_no_slot;
}

/* False when the slot is not filled, or changed while it was read. */
static bool read_slot(const ptd_slot &slot, ptd_blocked_t *blocked)
{
    const uint32_t stamp = slot.stamp;
    if (stamp % 4 != ptd_filled)
        return false;
    *blocked = {slot.thread, slot.mutex, slot.function, slot.line};
    return slot.stamp == stamp;
}

size_t ptd_list_blocked(ptd_blocked_t *list, size_t room)
{
    size_t waiting = 0;
    for (const ptd_slot &slot : slots) {
        ptd_blocked_t blocked;
        if (!read_slot(slot, &blocked))
            continue;
        if (waiting < room)
            list[waiting] = blocked;
        waiting++;
    }
    return waiting + without_slot;
}
