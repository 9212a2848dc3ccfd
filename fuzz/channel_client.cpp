/*
 * The client's end of a channel to a server that has sent fuzz bytes and closed: the first byte says whether a good greeting
 * stands ahead of them and which version is wanted, the second how much room there is for replies.
 */
#include <cstring>

#include <platform/msg_chan.h>

#include "fuzz/channel/run_dir.h"

static fuzz_bytes sent_by_server;
static bool greets;
static int far_end = -1;

/* Stands for connect(): the socket becomes one end of a pair, whose other end has all that the server will ever say. */
extern "C" int __wrap_connect(int fd, const sockaddr *, socklen_t)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return -1;
    dup2(pair[0], fd);
    close(pair[0]);
    far_end = pair[1];
    if (greets)
        fuzz_put(far_end, &FUZZ_HELLO, sizeof FUZZ_HELLO);
    fuzz_put(far_end, sent_by_server.data(), sent_by_server.size());
    shutdown(far_end, SHUT_WR);
    return 0;
}

/* The client looks for the file of the service. */
static bool make_service()
{
    const sockaddr_un address = fuzz_address();
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        std::abort();
    close(fd);
    atexit(fuzz_remove_run_dir);
    return true;
}

static void use(uint32_t chan, size_t room)
{
    constexpr unsigned requests = 4;
    static uint8_t reply[256];
    static const char msg[] = "request";
    for (unsigned number = 0; number != requests; ++number)
        if (msg_send(chan, msg, sizeof msg, reply + sizeof reply - room, room) == 0)
            msg_conn_save_datum(chan, reply);
    if (msg_chan_disconnect(&chan) != 0)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    [[maybe_unused]] static const bool made = make_service();
    fuzz_input input(data, size);
    const uint8_t how = input.byte();
    const size_t room = input.byte();
    greets = how & 1;
    sent_by_server = input.rest();
    const msg_chan_version_t version = {.mcv_min = 1, .mcv_max = 3, .mcv_format = 2};
    uint32_t chan = 0;
    const int result = how & 2 ? msg_chan_connect_xversion(FUZZ_SERVICE, 0, 0, &chan, &version)
                               : msg_chan_connect(FUZZ_SERVICE, MSG_CHAN_NOTIFY_DEATH, 0, &chan);
    if (result == 0)
        use(chan, room);
    close(far_end);
    return 0;
}
