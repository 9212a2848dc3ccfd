#include "told_records.h"

#include <cstring>

static constexpr size_t header = 8, numbers = 12;

template <class then_t> static void move_each(uint8_t *reply, size_t len, then_t then)
{
    for (uint8_t *at = reply; len >= told_route_bytes; at += told_route_bytes, len -= told_route_bytes) {
        std::memmove(at, at + header, told_route_bytes - header);
        then(at);
    }
}

void move_records(uint8_t *reply, size_t len)
{
    move_each(reply, len, [](uint8_t *) {});
}

void move_and_swap_records(uint8_t *reply, size_t len)
{
    move_each(reply, len, [](uint8_t *record) {
        uint32_t number[numbers];
        std::memcpy(number, record, sizeof number);
        for (uint32_t &each : number)
            each = __builtin_bswap32(each);
        std::memcpy(record, number, sizeof number);
    });
}
