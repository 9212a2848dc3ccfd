/*
 * The channel. As the real one it never uses an id again, and knows no closed channel.
 */
#include "fuzz/client/channel.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

#include <platform/msg_chan.h>
#include <platform/tev.h>

static std::map<uint32_t, msg_clinfo_datum_h> &open_channels()
{
    static std::map<uint32_t, msg_clinfo_datum_h> channels;
    return channels;
}

static int failed(int error)
{
    errno = error;
    return -1;
}

static int check(uint32_t chan)
{
    return open_channels().contains(chan) ? 0 : failed(EBADF);
}

int msg_chan_connect(const char *, uint32_t, uint32_t, uint32_t *chan)
{
    static uint32_t last;
    open_channels()[++last] = nullptr;
    *chan = last;
    return 0;
}

int msg_chan_connect_xversion(const char *service, uint32_t flags, uint32_t reserved, uint32_t *chan, const msg_chan_version_t *)
{
    return msg_chan_connect(service, flags, reserved, chan);
}

int msg_chan_disconnect(uint32_t *chan)
{
    return open_channels().erase(*chan) ? 0 : failed(EBADF);
}

int msg_get_conn_connid(uint32_t chan, int32_t *connid)
{
    *connid = static_cast<int32_t>(chan & INT32_MAX);
    return check(chan);
}

int msg_conn_save_datum(uint32_t chan, msg_clinfo_datum_h datum)
{
    if (check(chan) == -1)
        return -1;
    open_channels()[chan] = datum;
    return 0;
}

int msg_conn_get_datum(uint32_t chan, msg_clinfo_datum_h *datum)
{
    if (check(chan) == -1)
        return -1;
    *datum = open_channels()[chan];
    return 0;
}

int msg_send(uint32_t chan, const void *, size_t, void *reply, size_t room)
{
    if (check(chan) == -1)
        return -1;
    const std::optional<fuzz_bytes> answer = next_answer();
    if (!answer)
        return failed(ECONNRESET);
    if (answer->size() > room)
        return failed(EMSGSIZE);
    if (!answer->empty())
        std::memcpy(reply, answer->data(), answer->size());
    return 0;
}

void tev_errmsg(const tev_msg_rec_t *, int, ...) {}

fuzz_bytes acceptance(uint32_t format)
{
    /* Node, client, and a record of type 104 that tells the format. */
    static uint8_t reply[36];
    reply[17] = 104;
    reply[19] = 8;
    reply[20] = reply[21] = 1;
    reply[27] = static_cast<uint8_t>(format);
    return reply;
}

ipv6_rib_conn_p connect_client(uint32_t format)
{
    static uint32_t told;
    told = format;
    const auto before = std::exchange(next_answer, [] { return std::optional(acceptance(told)); });
    ipv6_rib_conn_p conn = nullptr;
    if (ipv6_rib_bind(&conn) == -1)
        std::abort();
    next_answer = before;
    return conn;
}
