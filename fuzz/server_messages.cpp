/*
 * Messages to a whole server from two of its clients: the input is a run of messages, each led by a byte that chooses the
 * client and two bytes of length.
 */
#include <cstdlib>
#include <cstring>
#include <vector>

#include <ipv6_rib/batch_send.h>

#include "server/server.h"

static size_t hand_over(rib_server &server, rib_session &session, std::vector<uint8_t> msg)
{
    static std::vector<uint8_t> area(RIB_BATCH_REPLY_BYTES);
    size_t granted = 0;
    const size_t len = rib_server_handle(server, session, msg.data(), msg.size(), [&](size_t room) {
        if (room > area.size())
            std::abort();
        granted = room;
        return area.data();
    });
    if (len > granted)
        std::abort();
    return len;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    uint64_t now = 0;
    rib_server server({.hold_seconds = 1, .max_tables = 4, .max_routes = 8}, [&] { return now; });
    rib_session *clients[2] = {rib_server_connect(server, {}), rib_server_connect(server, {})};
    clients[0]->bound = true;
    for (const uint8_t *at = data, *end = data + size; end - at >= 3;) {
        const size_t len = std::min<size_t>(rib_load<uint16_t>(at + 1), static_cast<size_t>(end - at) - 3);
        rib_session *client = clients[*at & 1];
        if (hand_over(server, *client, {at + 3, at + 3 + len}) == 0)
            std::abort(); // every message is answered
        at += 3 + len;
        rib_server_expire(server);
        now += 500;
    }
    rib_server_disconnect(server, clients[0]);
    now += 2000;
    rib_server_expire(server);
    rib_server_disconnect(server, clients[1]);
    return 0;
}
