/*
 * Events from the server's pulse to the client's handler, and pulses that must not get there.
 */
#include "platform/src/event_pulse.h"
#include "tests/platform/channel_support.h"

#include <platform/event.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

/* What handlers saw: their context's number, the code, the value. */
struct seen_pulse {
    int handler;
    uint32_t code;
    uintptr_t value;
    auto operator<=>(const seen_pulse &) const = default;
};
static std::vector<seen_pulse> seen;

static void note(void *value, uint32_t code, void *context)
{
    seen.push_back({*static_cast<int *>(context), code, reinterpret_cast<uintptr_t>(value)});
}

class event : public testing::Test
{
protected:
    event()
    {
        seen.clear();
        server.connected = [this](msg_peer_t *connected, unsigned) { return peer = connected, 0; };
        server.start();
        chan = open_channel();
    }
    ~event() override
    {
        msg_chan_disconnect(&chan);
        event_manager_destroy(manager);
    }
    sigevent armed_event(event_manager_t *owner, int *handler, uint32_t code, uintptr_t value)
    {
        sigevent made;
        EXPECT_EQ(event_init_sigevent(owner, event_async_attach(owner, code, note, handler), 0, 0, &made), 0u);
        event_pulse_ptr_set(&made, reinterpret_cast<void *>(value), 0);
        return made;
    }
    int pulse(const sigevent &to, uint64_t value)
    {
        int error = 0;
        server.run([&](msg_server_t *) { error = error_of(msg_peer_pulse(peer, &to, value)); });
        return error;
    }
    static std::vector<seen_pulse> dispatched(event_manager_t *owner, int timeout_ms = 0)
    {
        seen.clear();
        const int handlers = event_manager_dispatch(owner, timeout_ms);
        EXPECT_EQ(static_cast<size_t>(handlers), seen.size());
        std::sort(seen.begin(), seen.end());
        return seen;
    }

    const run_dir dir;
    threaded_server server;
    std::atomic<msg_peer_t *> peer = nullptr;
    uint32_t chan = 0;
    event_manager_t *manager = event_manager_create();
    int first = 1, second = 2;
};

using seen_list = std::vector<seen_pulse>;

TEST_F(event, reaches_its_handler_merged_with_its_equals)
{
    const sigevent a = armed_event(manager, &first, 10, 0x1111), b = armed_event(manager, &second, 20, 0x2222);
    const sigevent copy = a;
    EXPECT_EQ(dispatched(manager), seen_list{});
    for (int i = 0; i != 3; i++) {
        EXPECT_EQ(pulse(copy, 0x1111), 0);
        EXPECT_EQ(pulse(b, 0x2222), 0);
    }
    pollfd readable = {.fd = event_manager_fd(manager), .events = POLLIN};
    EXPECT_EQ(poll(&readable, 1, 0), 1);
    EXPECT_EQ(dispatched(manager, 1000), (seen_list{{1, 10, 0x1111}, {2, 20, 0x2222}}));
    EXPECT_EQ(poll(&readable, 1, 0), 0);
}

TEST_F(event, reaches_only_the_manager_that_made_it)
{
    event_manager_t *other = event_manager_create();
    const sigevent mine = armed_event(manager, &first, 1, 0x10), theirs = armed_event(other, &second, 2, 0x20);
    EXPECT_EQ(pulse(mine, 0x10), 0);
    EXPECT_EQ(dispatched(other), seen_list{});
    EXPECT_EQ(dispatched(manager), (seen_list{{1, 1, 0x10}}));
    EXPECT_EQ(pulse(theirs, 0x20), 0);
    event_manager_destroy(other);
    EXPECT_EQ(pulse(theirs, 0x20), ECONNREFUSED) << "the manager is gone";
    EXPECT_EQ(dispatched(manager), seen_list{});
}

TEST_F(event, needs_an_armed_value)
{
    sigevent made = armed_event(manager, &first, 1, 0x10);
    EXPECT_EQ(pulse(made, 0x99), 0);
    EXPECT_EQ(dispatched(manager), seen_list{}) << "never armed";

    sigevent copy = made;
    event_pulse_ptr_set(&made, reinterpret_cast<void *>(0x20), 0);
    EXPECT_EQ(event_pulse_ptr(&made), reinterpret_cast<void *>(0x20));
    EXPECT_EQ(pulse(made, 0x10), 0);
    EXPECT_EQ(pulse(made, 0x20), 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{1, 1, 0x10}, {1, 1, 0x20}})) << "a second value leaves the first armed";

    EXPECT_EQ(pulse(made, 0x10), 0);
    event_pulse_ptr_set(&copy, nullptr, 0);
    EXPECT_EQ(event_pulse_ptr(&copy), nullptr);
    EXPECT_EQ(dispatched(manager), seen_list{}) << "disarmed while under way";
    EXPECT_EQ(pulse(made, 0x20), 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{1, 1, 0x20}})) << "the copy held another value";
}

TEST_F(event, lets_a_handler_change_events)
{
    static sigevent left, right;
    static int ran;
    ran = 0;
    struct inside {
        event_manager_t *manager;
        sigevent *other;
    } const a = {manager, &right}, b = {manager, &left};
    const auto handler = [](void *, uint32_t, void *context) {
        const auto *self = static_cast<const inside *>(context);
        event_pulse_ptr_set(self->other, nullptr, 0);
        EXPECT_GE(event_async_attach(self->manager, 0, note, context), 0);
        ran++;
    };
    for (const auto &[made, context] : {std::pair{&left, &a}, std::pair{&right, &b}}) {
        auto *unqualified = const_cast<inside *>(context);
        EXPECT_EQ(event_init_sigevent(manager, event_async_attach(manager, 0, handler, unqualified), 0, 0, made), 0u);
        event_pulse_ptr_set(made, made, 0);
        EXPECT_EQ(pulse(*made, reinterpret_cast<uintptr_t>(made)), 0);
    }
    EXPECT_EQ(event_manager_dispatch(manager, 0), 1) << "each disarms the other";
    EXPECT_EQ(ran, 1);
}

static event_target target_of(const sigevent &made)
{
    event_target target;
    EXPECT_TRUE(event_read_target(&made, &target));
    return target;
}

TEST_F(event, ignores_whoever_is_not_the_server)
{
    const sigevent made = armed_event(manager, &first, 1, 0x10);
    sigevent forged = made;
    event_target target = target_of(made);
    target.ev_token.et_bytes[15] ^= 1;
    event_write_target(&forged, target);
    EXPECT_EQ(pulse_send(&forged, 0x10), 0);
    EXPECT_EQ(dispatched(manager), seen_list{}) << "a wrong token";

    const pid_t child = fork();
    if (child == 0)
        _exit(pulse_send(&made, 0x10));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(dispatched(manager, 1000), seen_list{}) << "the right token from another process";

    const event_address address = event_address_of(target_of(made));
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    for (const size_t len : {0u, 31u, 33u, 60000u})
        sendto(fd, bytes(len).data(), len, 0, reinterpret_cast<const sockaddr *>(&address.ea_socket), address.ea_len);
    close(fd);
    EXPECT_EQ(dispatched(manager, 1000), seen_list{}) << "datagrams that are no pulses";

    EXPECT_EQ(pulse(made, 0x10), 0);
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
    EXPECT_EQ(dispatched(manager, 1000), seen_list{}) << "no channel to that server any more";
}

TEST_F(event, cannot_direct_the_server_at_other_sockets)
{
    sigevent made = armed_event(manager, &first, 1, 0x10);
    event_target target = target_of(made);
    memcpy(target.ev_name, "named", sizeof target.ev_name);
    event_write_target(&made, target);
    EXPECT_EQ(pulse(made, 0x10), EINVAL);
    EXPECT_EQ(pulse(sigevent{}, 0x10), EINVAL);
}

TEST_F(event, waits_for_a_manager_that_is_full_and_holds_up_no_other)
{
    event_manager_t *full = event_manager_create();
    const sigevent slow = armed_event(full, &first, 1, 0x10), quick = armed_event(manager, &second, 2, 0x20);
    int sent = 0;
    while (pulse_send(&slow, 0x999) == 0)
        sent++;
    EXPECT_GT(sent, 0);
    for (int i = 0; i != 100; i++)
        EXPECT_EQ(pulse(slow, 0x10), 0);
    msg_peer_t *slow_peer = peer;
    uint32_t other = open_channel();
    EXPECT_NE(peer, slow_peer);
    EXPECT_EQ(pulse(quick, 0x20), 0);
    EXPECT_EQ(dispatched(manager), (seen_list{{2, 2, 0x20}}));
    seen_list late;
    for (int i = 0; i != 100 && late.empty(); i++)
        late = dispatched(full, 100);
    EXPECT_EQ(late, (seen_list{{1, 1, 0x10}})) << "what filled it was never armed";
    EXPECT_EQ(dispatched(full, 150), seen_list{}) << "one was enough";
    EXPECT_EQ(msg_chan_disconnect(&other), 0);
    event_manager_destroy(full);
}

TEST_F(event, refuses_bad_arguments)
{
    sigevent made = {};
    EXPECT_EQ(event_async_attach(nullptr, 0, note, nullptr), -1);
    EXPECT_EQ(event_async_attach(manager, 0, nullptr, nullptr), -1);
    EXPECT_EQ(event_init_sigevent(manager, 0, 0, 0, &made), static_cast<errcode>(EINVAL)) << "nothing attached yet";
    EXPECT_EQ(event_async_attach(manager, 0, note, &first), 0);
    EXPECT_EQ(event_init_sigevent(manager, 0, 0, 0, nullptr), static_cast<errcode>(EINVAL));
    EXPECT_EQ(event_init_sigevent(nullptr, 0, 0, 0, &made), static_cast<errcode>(EINVAL));
    EXPECT_EQ(event_init_sigevent(manager, -1, 0, 0, &made), static_cast<errcode>(EINVAL));
    event_pulse_ptr_set(&made, nullptr, 0); // an event that was never described
    EXPECT_EQ(event_manager_dispatch(manager, 10), 0);
    event_manager_destroy(nullptr);
}
