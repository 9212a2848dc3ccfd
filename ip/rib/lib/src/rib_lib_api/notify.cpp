/*
 * The registry of notification events. Failures of its lock are fatal.
 */
#include "notify.h"

#include <cerrno>
#include <pthread.h>

#include <ipv6_rib/errors.h>

#include "../rib_fatal.h"
#include "../rib_owned.h"
#include "locks.h"
#include "messages.h"

struct event_slot {
    event_manager_t *evm;
    struct sigevent *event;
};

static pthread_rwlock_t registry_lock = PTHREAD_RWLOCK_INITIALIZER;
static event_slot registry[4];

static void require(int error, const char *who, const char *operation)
{
    if (error)
        rib_log_lock(who, operation, error);
    rib_fatal_unless(error == 0, "error == 0");
}

/* Of the slots, the one to use for an event manager: the first one for NULL. */
static event_slot *slot_of(event_manager_t *evm)
{
    if (!evm)
        return &registry[0];
    for (event_slot &slot : registry)
        if (slot.evm == evm)
            return &slot;
    return nullptr;
}

struct sigevent *rib_client_find_sigevent(event_manager_t *evm)
{
    require(rib_rwlock_rdlock(&registry_lock), "rib_client_find_sigevent", "rdlock");
    const event_slot *slot = slot_of(evm);
    struct sigevent *event = slot ? slot->event : nullptr;
    require(rib_rwlock_unlock(&registry_lock), "rib_client_find_sigevent", "unlock");
    return event;
}

bool rib_client_take_sigevent(event_manager_t *evm, ip_rib_conn_p conn)
{
    /* Only binds come here and they exclude one another, so the read lock is enough to set the pulse value. */
    require(rib_rwlock_rdlock(&registry_lock), "rib_client_take_sigevent", "rdlock");
    const event_slot *slot = slot_of(evm);
    const bool found = slot && slot->event;
    if (found) {
        event_pulse_ptr_set(slot->event, conn, 0);
        conn->event = *slot->event;
    }
    require(rib_rwlock_unlock(&registry_lock), "rib_client_take_sigevent", "unlock");
    return found;
}

/* Keeps the event in a free slot, unless its manager has one. */
static errcode enter(event_manager_t *evm, rib_owned_t<struct sigevent> event)
{
    event_slot *empty = nullptr;
    for (event_slot &slot : registry) {
        if (slot.evm == evm)
            return 0;
        if (!empty && !slot.evm && !slot.event)
            empty = &slot;
    }
    if (!empty)
        return RIB_LIB_ERR_SIGEVENT_TABLE;
    *empty = {evm, event.release()};
    return 0;
}

errcode rib_client_add_sigevent(event_manager_t *evm, uint32_t code, event_handler_t handler, void *context)
{
    /* The platform's way of saying that there is nothing to register. */
    constexpr errcode nothing_to_set_up = 0x42D28E00;
    if (!handler)
        return EINVAL;
    rib_owned_t<struct sigevent> event = rib_calloc<struct sigevent>(sizeof(struct sigevent));
    if (!event)
        return ENOMEM;
    const int attached = event_async_attach(evm, code, handler, context);
    if (attached == -1)
        return EINVAL;
    if (const errcode failed = event_init_sigevent(evm, attached, 0, 0, event.get()))
        return failed == nothing_to_set_up ? 0 : failed;
    require(rib_rwlock_wrlock(&registry_lock), "rib_client_add_sigevent", "wrlock");
    const errcode entered = enter(evm, std::move(event));
    require(rib_rwlock_unlock(&registry_lock), "rib_client_add_sigevent", "unlock");
    return entered;
}

errcode rib_client_remove_sigevent(event_manager_t *evm)
{
    require(rib_rwlock_wrlock(&registry_lock), "rib_client_remove_sigevent", "wrlock");
    errcode result = RIB_LIB_ERR_SIGEVENT_TABLE;
    for (event_slot &slot : registry) {
        if (slot.evm != evm)
            continue;
        std::free(slot.event);
        slot = {};
        result = 0;
    }
    require(rib_rwlock_unlock(&registry_lock), "rib_client_remove_sigevent", "unlock");
    return result;
}
