/*
 * The channel without a server, and answers.
 */
#include "canned_channel.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <platform/msg_chan.h>

bytes canned_answer;
std::chrono::steady_clock::time_point canned_answer_came;

int msg_chan_connect(const char *, uint32_t, uint32_t, uint32_t *chan)
{
    *chan = 1;
    return 0;
}
int msg_chan_disconnect(uint32_t *)
{
    return 0;
}
int msg_get_conn_connid(uint32_t, int32_t *connid)
{
    *connid = 1;
    return 0;
}
int msg_send(uint32_t, const void *, size_t, void *reply, size_t room)
{
    std::memcpy(reply, canned_answer.data(), std::min(room, canned_answer.size()));
    canned_answer_came = std::chrono::steady_clock::now();
    return 0;
}

bytes operator+(bytes first, const bytes &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

static bytes number(uint64_t value, size_t width)
{
    bytes all;
    while (width-- != 0)
        all.push_back(static_cast<uint8_t>(value >> 8 * width));
    return all;
}

static bytes record(uint16_t type, const bytes &value)
{
    return bytes(4) + number(type, 2) + number(value.size(), 2) + value;
}

static const bytes end(8); /* of records */

static bytes repeated(const bytes &one, uint32_t count)
{
    bytes all;
    for (all.reserve(one.size() * count); count != 0; count--)
        all.insert(all.end(), one.begin(), one.end());
    return all;
}

ipv6_rib_conn_p canned_connection()
{
    static const ipv6_rib_conn_p conn = [] {
        ipv6_rib_conn_p bound = nullptr;
        canned_answer = bytes(12) + record(104, {1, 1, 0, 0, 0, 0, 0, 1}) + end;
        if (ipv6_rib_bind(&bound) != 1)
            std::abort();
        return bound;
    }();
    return conn;
}

bytes told_route(told_attributes attributes)
{
    bytes fixed(offsetof(ipv6_routetype, rt_path));
    fixed[offsetof(ipv6_routetype, rt_path_count)] = 1;
    const bytes communities(20), label(4), advertisers = {1, 0, 0, 0, 7, 0};
    const bytes route = record(3, fixed) + record(4, bytes(sizeof(rib_pathtype)));
    if (attributes == told_attributes::none)
        return route + end + end;
    return route + record(12, communities) + record(18, label) + end + record(7, advertisers) + end;
}

bytes told_listing(const bytes &route, uint32_t count)
{
    return bytes(4) + number(count, 4) + bytes(1) + repeated(route, count);
}

bytes told_updates(const bytes &route, uint32_t count)
{
    const bytes messages = repeated(bytes(4) + number(2, 2) + bytes(6) + number(16 + route.size(), 4) + route, count);
    return number(12 + messages.size(), 4) + number(8 + messages.size(), 4) + number(1, 2) + bytes(2) + messages;
}

bytes batch_results(uint32_t count)
{
    const bytes route = number(0x013000000001, 6) + bytes(330), path = number(1, 1) + bytes(279);
    const bytes results = repeated(route + path, count);
    return number(48 + results.size(), 4) + bytes(20) + number(1, 2) + bytes(22) + results;
}
