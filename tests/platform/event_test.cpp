/*
 * Events from the server's pulse to the client's handler, and pulses that must not get there.
 */
#include "platform/src/event_pulse.h"
#include "tests/platform/channel_support.h"

#include <platform/event.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

/* Code and value of each pulse that handlers saw. */
using seen_list = std::vector<std::pair<uint32_t, uintptr_t>>;
static seen_list seen;
static char contexts[3]; // by code

static void note(void *value, uint32_t code, void *context)
{
    EXPECT_EQ(context, contexts + code);
    seen.emplace_back(code, reinterpret_cast<uintptr_t>(value));
}

static void set_value(sigevent *event, uintptr_t value)
{
    event_pulse_ptr_set(event, reinterpret_cast<void *>(value), 0);
    EXPECT_EQ(event_pulse_ptr(event), reinterpret_cast<void *>(value));
}

class event : public testing::Test
{
protected:
    event()
    {
        server.connected = [this](msg_peer_t *connected) { return peer = connected, 0; };
        server.start();
        chan = open_channel();
    }
    ~event() override
    {
        close_channel(chan);
        event_manager_destroy(manager);
    }
    sigevent armed_event(event_manager_t *owner, uint32_t code, uintptr_t value)
    {
        sigevent made;
        EXPECT_EQ(event_init_sigevent(owner, event_async_attach(owner, code, note, contexts + code), 0, 0, &made), 0u);
        set_value(&made, value);
        return made;
    }
    int pulse(const sigevent &to, uint64_t value)
    {
        int error = 0;
        server.run([&] { error = error_of(msg_peer_pulse(peer, &to, value)); });
        return error;
    }
    static seen_list dispatched(event_manager_t *owner, int timeout_ms = 0)
    {
        seen.clear();
        const int handlers = event_manager_dispatch(owner, timeout_ms);
        EXPECT_EQ(static_cast<size_t>(handlers), seen.size());
        std::sort(seen.begin(), seen.end());
        return seen;
    }

    const run_dir dir;
    threaded_server server;
    msg_peer_t *peer = nullptr;
    uint32_t chan = 0;
    event_manager_t *manager = event_manager_create();
};

TEST_F(event, reaches_its_handler_merged_with_its_equals_and_no_other_manager)
{
    event_manager_t *other = event_manager_create();
    const sigevent a = armed_event(manager, 1, 0x10), b = armed_event(manager, 2, 0x20), theirs = armed_event(other, 1, 0x30);
    for (int i = 0; i != 3; i++) {
        EXPECT_EQ(pulse(a, 0x10), 0);
        EXPECT_EQ(pulse(b, 0x20), 0);
    }
    pollfd readable = {.fd = event_manager_fd(manager), .events = POLLIN};
    EXPECT_EQ(poll(&readable, 1, 0), 1);
    EXPECT_EQ(dispatched(other), seen_list{});
    EXPECT_EQ(dispatched(manager, 1000), (seen_list{{1, 0x10}, {2, 0x20}}));
    EXPECT_EQ(poll(&readable, 1, 0), 0);
    event_manager_destroy(other);
    EXPECT_EQ(pulse(theirs, 0x30), ECONNREFUSED) << "the manager is gone";
}

TEST_F(event, needs_an_armed_value)
{
    sigevent made = armed_event(manager, 1, 0x10), copy = made;
    set_value(&made, 0x20);
    for (const uint64_t value : {0x99u, 0x10u, 0x20u})
        EXPECT_EQ(pulse(made, value), 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{1, 0x10}, {1, 0x20}})) << "one never armed; a second leaves the first armed";
    EXPECT_EQ(pulse(made, 0x10), 0);
    EXPECT_EQ(pulse(made, 0x20), 0);
    set_value(&copy, 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{1, 0x20}})) << "the copy's value was disarmed while under way";
}

static sigevent mutual[2];

TEST_F(event, lets_a_handler_change_events)
{
    const auto handler = [](void *own, uint32_t, void *owner) {
        set_value(own == mutual ? mutual + 1 : mutual, 0);
        EXPECT_GE(event_async_attach(static_cast<event_manager_t *>(owner), 0, note, nullptr), 0);
    };
    for (sigevent &made : mutual) {
        EXPECT_EQ(event_init_sigevent(manager, event_async_attach(manager, 0, handler, manager), 0, 0, &made), 0u);
        event_pulse_ptr_set(&made, &made, 0);
        EXPECT_EQ(pulse(made, reinterpret_cast<uintptr_t>(&made)), 0);
    }
    EXPECT_EQ(event_manager_dispatch(manager, 0), 1) << "each disarms the other";
}

TEST_F(event, ignores_whoever_is_not_the_server)
{
    const sigevent made = armed_event(manager, 1, 0x10);
    sigevent forged = made;
    event_target target;
    ASSERT_TRUE(event_read_target(&made, &target));
    const event_address address = event_address_of(target);
    target.ev_token.et_bytes[15] ^= 1;
    event_write_target(&forged, target);
    EXPECT_EQ(pulse_send(&forged, 0x10), 0) << "a wrong token";
    const pid_t child = fork();
    if (child == 0)
        _exit(pulse_send(&made, 0x10)); // the right token from another process
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    for (const size_t len : {0u, 31u, 33u, 60000u})
        sendto(fd, bytes(len).data(), len, 0, reinterpret_cast<const sockaddr *>(&address.ea_socket), address.ea_len);
    close(fd);
    EXPECT_EQ(dispatched(manager, 1000), seen_list{});
    EXPECT_EQ(pulse(made, 0x10), 0);
    EXPECT_EQ(close_channel(chan), 0);
    EXPECT_EQ(dispatched(manager, 1000), seen_list{}) << "no channel to that server any more";
}

TEST_F(event, waits_for_a_manager_that_is_full_and_holds_up_no_other)
{
    event_manager_t *full = event_manager_create();
    const sigevent slow = armed_event(full, 1, 0x10), quick = armed_event(manager, 2, 0x20);
    int sent = 0;
    while (pulse_send(&slow, 0x999) == 0)
        sent++;
    EXPECT_GT(sent, 0);
    for (int i = 0; i != 100; i++)
        EXPECT_EQ(pulse(slow, 0x10), 0);
    const uint32_t other = open_channel();
    EXPECT_EQ(pulse(quick, 0x20), 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{2, 0x20}}));
    seen_list late;
    for (int i = 0; i != 100 && late.empty(); i++)
        late = dispatched(full, 100);
    EXPECT_EQ(late, (seen_list{{1, 0x10}})) << "what filled it was never armed";
    EXPECT_EQ(dispatched(full, 150), seen_list{}) << "one was enough";
    EXPECT_EQ(close_channel(other), 0);
    event_manager_destroy(full);
}

TEST_F(event, refuses_bad_arguments)
{
    sigevent made = {};
    EXPECT_EQ(pulse(made, 0x10), EINVAL);
    event_pulse_ptr_set(&made, nullptr, 0); // an event that was never described
    EXPECT_EQ(event_async_attach(nullptr, 0, note, nullptr), -1);
    EXPECT_EQ(event_async_attach(manager, 0, nullptr, nullptr), -1);
    EXPECT_EQ(event_async_attach(manager, 0, note, nullptr), 0);
    EXPECT_EQ(event_init_sigevent(manager, 0, 0, 0, nullptr), static_cast<errcode>(EINVAL));
    EXPECT_EQ(event_init_sigevent(nullptr, 0, 0, 0, &made), static_cast<errcode>(EINVAL));
    for (const int unknown : {-1, 1})
        EXPECT_EQ(event_init_sigevent(manager, unknown, 0, 0, &made), static_cast<errcode>(EINVAL));
    EXPECT_EQ(event_init_sigevent(manager, 0, 0, 0, &made), 0u);
    event_target target;
    ASSERT_TRUE(event_read_target(&made, &target));
    memcpy(target.ev_name, "named", sizeof target.ev_name);
    event_write_target(&made, target);
    EXPECT_EQ(pulse(made, 0x10), EINVAL) << "directs the server at somebody's socket";
    EXPECT_EQ(event_manager_dispatch(manager, 10), 0);
}
