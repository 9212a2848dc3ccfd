/*
 * The server's end of a channel, with three clients. A step is a byte that chooses the client and what it does, and bytes that it
 * sends; its first bit makes it send a good greeting ahead. What the first byte of a request says is how its owner answers.
 */
#include <csignal>
#include <cstring>
#include <poll.h>
#include <vector>

#include <platform/msg_chan_server.h>

#include "fuzz/channel/run_dir.h"

constexpr size_t clients = 3;
constexpr size_t message_max = 600;

static std::vector<msg_peer_t *> connected, owed; /* owed: a reply that comes later */

static void answer(msg_peer_t *peer, fuzz_bytes bytes)
{
    uint8_t *area = msg_peer_reply_area(peer, bytes.size());
    if (!area)
        return msg_peer_close(peer);
    if (!bytes.empty())
        std::memcpy(area, bytes.data(), bytes.size());
    msg_peer_reply(peer, bytes.size());
}

static void received(void *, msg_peer_t *peer, uint8_t *msg, size_t len)
{
    enum : uint8_t { later, close_it, nothing, pulse, kinds };
    const uint8_t how = len == 0 ? uint8_t{kinds} : msg[0];
    if (how == later)
        return owed.push_back(peer);
    if (how == close_it)
        return msg_peer_close(peer);
    if (how == nothing)
        return answer(peer, {});
    sigevent event = {};
    std::memcpy(&event, msg, std::min(len, sizeof event));
    if (how == pulse)
        msg_peer_pulse(peer, &event, len);
    answer(peer, {msg, len});
}

static int let_in(void *, msg_peer_t *peer, unsigned)
{
    msg_peer_info_t info;
    msg_peer_info(peer, &info);
    if (info.mpi_node_id == UINT32_MAX)
        return EPERM;
    connected.push_back(peer);
    return 0;
}

static void disconnected(void *, msg_peer_t *peer)
{
    if (std::erase(connected, peer) != 1)
        std::abort();
    std::erase(owed, peer);
}

static msg_server_t *make_server()
{
    static const msg_server_ops_t ops = {let_in, received, disconnected};
    const msg_server_options_t options = {.mso_dir = fuzz_run_dir().c_str(),
                                          .mso_max_message = message_max,
                                          .mso_max_reply = message_max,
                                          .mso_max_clients = clients};
    msg_server_t *server = msg_server_create(&options, &ops, nullptr);
    if (!server || msg_server_attach(server, FUZZ_SERVICE) != 0)
        std::abort();
    static msg_server_t *made = server;
    atexit([] {
        msg_server_destroy(made);
        fuzz_remove_run_dir();
    });
    return server;
}

static int connect_client()
{
    static const sockaddr_un address = fuzz_address();
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        std::abort();
    return fd;
}

static void step(fuzz_input &input, int (&ends)[clients])
{
    enum : uint8_t { greets = 1, reads = 2, leaves = 4, settles = 8 };
    const uint8_t how = input.byte();
    int &end = ends[(how >> 4) % clients];
    if (end == -1)
        end = connect_client();
    if (how & greets)
        fuzz_put(end, &FUZZ_HELLO, sizeof FUZZ_HELLO);
    const fuzz_bytes bytes = input.block();
    fuzz_put(end, bytes.data(), bytes.size());
    uint8_t seen[message_max];
    while (how & reads && recv(end, seen, sizeof seen, 0) > 0) {
    }
    if (how & settles && !owed.empty()) {
        msg_peer_t *peer = owed.back();
        owed.pop_back();
        answer(peer, bytes.first(std::min(bytes.size(), message_max)));
    }
    if (how & leaves) {
        close(end);
        end = -1;
    }
}

/* Serves all that is there, so that nothing is left to the next run. */
static void settle(msg_server_t *server)
{
    pollfd work = {.fd = msg_server_fd(server), .events = POLLIN};
    for (unsigned rounds = 0; poll(&work, 1, 0) == 1; ++rounds) {
        if (rounds > 10000)
            std::abort();
        msg_server_dispatch(server, 0);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static msg_server_t *const server = make_server();
    int ends[clients] = {-1, -1, -1};
    for (fuzz_input input(data, size); !input.empty();) {
        step(input, ends);
        msg_server_dispatch(server, 0);
    }
    for (const int end : ends)
        if (end != -1)
            close(end);
    settle(server);
    if (!connected.empty() || !owed.empty())
        std::abort();
    return 0;
}
