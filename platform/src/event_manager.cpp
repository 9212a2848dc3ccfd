/*
 * Event managers: making and ending them, attaching handlers, describing and arming events.
 */
#include "event_manager.h"

#include "guard.h"

#include <platform/tev.h>

#include <cstdlib>
#include <cstring>
#include <sys/epoll.h>
#include <sys/random.h>
#include <sys/socket.h>

pthread_mutex_t event_lock = PTHREAD_MUTEX_INITIALIZER;
static event_manager *managers;

static tev_msg_limit_t no_memory_limit = {.tml_limit = 10};
static const tev_msg_rec_t no_memory = {.tmr_format = "No memory to arm an event, its pulses will be dropped",
                                        .tmr_limit = &no_memory_limit,
                                        .tmr_facility = "EVENT",
                                        .tmr_category = "PLATFORM",
                                        .tmr_mnemonic = "NO_MEMORY",
                                        .tmr_severity = TEV_ERR};

/* A socket under a name that the kernel chooses, which then stands in the target. 0 or -1 with errno. */
static int open_socket(event_manager *manager)
{
    const int on = 1;
    const sockaddr any = {.sa_family = AF_UNIX};
    event_address address = {};
    address.ea_len = sizeof address.ea_socket;
    auto *name = reinterpret_cast<sockaddr *>(&address.ea_socket);
    manager->em_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (manager->em_socket < 0 || setsockopt(manager->em_socket, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0 ||
        bind(manager->em_socket, &any, sizeof any.sa_family) != 0 || getsockname(manager->em_socket, name, &address.ea_len) != 0)
        return -1;
    memcpy(manager->em_target.ev_name, address.ea_socket.sun_path + 1, event_name_len);
    return 0;
}

static int open_manager(event_manager *manager)
{
    if (open_socket(manager) != 0)
        return -1;
    event_token *token = &manager->em_target.ev_token;
    if (getrandom(token, sizeof *token, 0) != sizeof *token)
        return -1;
    manager->em_epoll = epoll_create1(EPOLL_CLOEXEC);
    if (manager->em_epoll < 0)
        return -1;
    manager->em_pulses.es_ready = event_run_pulses;
    event_source_add(manager, &manager->em_pulses);
    errno = event_source_watch(manager, &manager->em_pulses, manager->em_socket, EPOLLIN);
    return errno == 0 ? 0 : -1;
}

event_manager_t *event_manager_create(void)
{
    auto *manager = static_cast<event_manager *>(calloc_named(1, sizeof(event_manager), "event manager"));
    if (!manager)
        return nullptr;
    manager->em_epoll = manager->em_socket = -1;
    if (open_manager(manager) != 0) {
        const int error = errno;
        event_manager_destroy(manager);
        errno = error;
        return nullptr;
    }
    mutex_guard guard(&event_lock);
    manager->em_next = managers;
    managers = manager;
    return manager;
}

static void unregister(const event_manager *manager)
{
    mutex_guard guard(&event_lock);
    for (event_manager **at = &managers; *at; at = &(*at)->em_next)
        if (*at == manager) {
            *at = manager->em_next;
            return;
        }
}

void event_manager_destroy(event_manager_t *manager)
{
    if (!manager)
        return;
    unregister(manager);
    for (const int fd : {manager->em_epoll, manager->em_socket})
        if (fd >= 0)
            close(fd);
    while (avl_node_t *first = avl_get_first(manager->em_armed)) {
        avl_delete(&manager->em_armed, first);
        free(reinterpret_cast<event_armed *>(first));
    }
    free(manager->em_attached);
    free(manager);
}

int event_manager_fd(const event_manager_t *manager)
{
    return manager->em_epoll;
}

int event_async_attach(event_manager_t *manager, uint32_t code, event_handler_t handler, void *context)
{
    if (!manager || !handler)
        return -1;
    mutex_guard guard(&event_lock);
    const uint32_t id = manager->em_attached_count;
    void *grown = reallocarray(manager->em_attached, size_t{id} + 1, sizeof(event_attachment));
    if (!grown)
        return -1;
    manager->em_attached = static_cast<event_attachment *>(grown);
    manager->em_attached[id] = {handler, code, context};
    manager->em_attached_count++;
    return static_cast<int>(id);
}

errcode event_init_sigevent(event_manager_t *manager, int attach_id, uint32_t, uint32_t, struct sigevent *event)
{
    if (!manager || !event)
        return EINVAL;
    mutex_guard guard(&event_lock);
    if (attach_id < 0 || static_cast<uint32_t>(attach_id) >= manager->em_attached_count)
        return EINVAL;
    event_target target = manager->em_target;
    target.ev_attach = static_cast<uint32_t>(attach_id);
    memset(event, 0, sizeof *event);
    event_write_target(event, target);
    return 0;
}

void *event_pulse_ptr(const struct sigevent *event)
{
    return event->sigev_value.sival_ptr;
}

static int compare_armed(const avl_node_t *first, const avl_node_t *second)
{
    const auto *a = reinterpret_cast<const event_armed *>(first);
    const auto *b = reinterpret_cast<const event_armed *>(second);
    if (a->ar_attach != b->ar_attach)
        return a->ar_attach < b->ar_attach ? 0 : 2;
    return a->ar_value < b->ar_value ? 0 : a->ar_value == b->ar_value ? 1 : 2;
}

event_armed *event_find_armed(const event_manager *manager, uint32_t attach, uint64_t value)
{
    const event_armed key = {.ar_attach = attach, .ar_value = value};
    return reinterpret_cast<event_armed *>(avl_search(manager->em_armed, &key.ar_node, compare_armed));
}

/* Under the lock. The manager that an event belongs to, as far as it still exists. */
static event_manager *find_manager(const event_target &target)
{
    event_manager *manager = managers;
    while (manager && !(manager->em_target.ev_token == target.ev_token))
        manager = manager->em_next;
    return manager;
}

static bool arm(event_manager *manager, uint32_t attach, uint64_t value)
{
    if (event_find_armed(manager, attach, value))
        return true;
    auto *armed = static_cast<event_armed *>(calloc_named(1, sizeof(event_armed), "armed event"));
    if (!armed)
        return false;
    armed->ar_attach = attach;
    armed->ar_value = value;
    avl_insert(&manager->em_armed, &armed->ar_node, compare_armed);
    return true;
}

static void disarm(event_manager *manager, uint32_t attach, uint64_t value)
{
    event_armed *armed = event_find_armed(manager, attach, value);
    if (!armed)
        return;
    avl_delete(&manager->em_armed, &armed->ar_node);
    free(armed);
}

/* True unless there was no memory. */
static bool change_armed(const event_target &target, const void *held, const void *value)
{
    mutex_guard guard(&event_lock);
    event_manager *manager = find_manager(target);
    if (!manager)
        return true;
    if (value)
        return arm(manager, target.ev_attach, reinterpret_cast<uintptr_t>(value));
    disarm(manager, target.ev_attach, reinterpret_cast<uintptr_t>(held));
    return true;
}

void event_pulse_ptr_set(struct sigevent *event, void *value, uint32_t)
{
    event_target target;
    const bool armed = !event_read_target(event, &target) || change_armed(target, event_pulse_ptr(event), value);
    event->sigev_value.sival_ptr = value;
    if (!armed)
        tev_errmsg(&no_memory, TEV_ERR);
}
