/*
 * The platform's identity, event and diagnostics symbols, steered by the test.
 */
#include "tests/support/fake_platform.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include <platform/identity.h>
#include <platform/ptd.h>

namespace
{

struct fakes_t {
    fake_identity_t identity;
    fake_events_t events;
    fake_ptd_t ptd;
};

auto fakes = std::make_unique<fakes_t>();

int result_of(int error)
{
    errno = error;
    return error ? -1 : 0;
}

/* Notes a call to the event connection and gives what the test wants. */
errcode conn_called(const event_conn_t *conn, const std::string &name, const std::string &numbers = "")
{
    fake_events().calls.push_back(name + numbers);
    return conn == fake_event_conn() ? fake_events().conn_results[name] : EINVAL;
}

} // namespace

fake_identity_t &fake_identity()
{
    return fakes->identity;
}

fake_events_t &fake_events()
{
    return fakes->events;
}

fake_ptd_t &fake_ptd()
{
    return fakes->ptd;
}

void fake_platform_reset()
{
    fakes = std::make_unique<fakes_t>();
}

event_manager_t *fake_manager(unsigned number)
{
    return reinterpret_cast<event_manager_t *>(static_cast<uintptr_t>(0x5000 + number));
}

event_conn_t *fake_event_conn()
{
    return reinterpret_cast<event_conn_t *>(uintptr_t{0x6000});
}

bytes_t fake_event_tail(const event_manager_t *manager)
{
    const auto first = static_cast<uint8_t>(reinterpret_cast<uintptr_t>(manager) << 4);
    bytes_t tail;
    for (size_t at = sizeof(sigval); at < sizeof(sigevent); ++at)
        tail.push_back(static_cast<uint8_t>(first + at));
    return tail;
}

void fake_ptd_t::set(const char *function)
{
    const std::lock_guard guard(lock_);
    announced_.emplace_back(function);
    changed_.notify_all();
}

void fake_ptd_t::unset()
{
    const std::lock_guard guard(lock_);
    ++ended_;
}

void fake_ptd_t::await_announced(size_t count)
{
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return announced_.size() >= count; });
}

std::vector<std::string> fake_ptd_t::announced()
{
    const std::lock_guard guard(lock_);
    return announced_;
}

size_t fake_ptd_t::ended()
{
    const std::lock_guard guard(lock_);
    return ended_;
}

extern "C" {

int platform_get_node_name(char *name, size_t room)
{
    std::snprintf(name, room, "%s", fake_identity().node_name.c_str());
    return result_of(fake_identity().node_name_error);
}

int platform_get_my_nodeid(uint32_t *node_id)
{
    if (fake_identity().node_id_error == 0)
        *node_id = fake_identity().node_id;
    return result_of(fake_identity().node_id_error);
}

int procfs_get_name(pid_t, char *name, size_t room)
{
    std::snprintf(name, room, "%s", fake_identity().process_path.c_str());
    return result_of(fake_identity().process_error);
}

int event_async_attach(event_manager_t *manager, uint32_t code, event_handler_t handler, void *context)
{
    fake_events().attached.push_back({manager, code, handler, context});
    fake_events().calls.push_back("attach " + std::to_string(code));
    return fake_events().attach_result;
}

errcode event_init_sigevent(event_manager_t *manager, int, uint32_t, uint32_t, sigevent *event)
{
    const bytes_t tail = fake_event_tail(manager);
    std::memcpy(reinterpret_cast<char *>(event) + sizeof(sigval), tail.data(), tail.size());
    return fake_events().init_result;
}

void *event_pulse_ptr(const sigevent *event)
{
    return event->sigev_value.sival_ptr;
}

void event_pulse_ptr_set(sigevent *event, void *value, uint32_t)
{
    event->sigev_value.sival_ptr = value;
}

errcode event_conn_create(event_conn_t **conn, event_manager_t *manager, event_conn_open_fn open, void *context,
                          uint32_t reserved)
{
    const errcode result = conn_called(fake_event_conn(), "create", " " + std::to_string(reserved));
    fake_events().conn_manager = manager;
    fake_events().conn_open = open;
    fake_events().conn_context = context;
    *conn = result ? nullptr : fake_event_conn();
    return result;
}

errcode event_conn_setretry(event_conn_t *conn, uint32_t max_seconds, uint32_t first_seconds)
{
    return conn_called(conn, "setretry", " " + std::to_string(max_seconds) + " " + std::to_string(first_seconds));
}

errcode event_conn_notify(event_conn_t *conn, uint32_t events, event_conn_state_fn notify)
{
    fake_events().conn_notify = notify;
    return conn_called(conn, "notify", " " + std::to_string(events));
}

errcode event_conn_open(event_conn_t *conn)
{
    return conn_called(conn, "open");
}

errcode event_conn_destroy(event_conn_t *conn)
{
    return conn_called(conn, "destroy");
}

void ptd_set_mutex_block(pthread_mutex_t *, const char *function, unsigned)
{
    fake_ptd().set(function);
}

void ptd_unset_mutex_block(void)
{
    fake_ptd().unset();
}
}
