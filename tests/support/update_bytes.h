/*
 * Updates as the server sends them: messages in both formats, and the reply to a fetch around them.
 */
#pragma once

#include "tests/support/hex.h"

/* A message with the header word 01020304; its length is changed by that much. */
inline bytes_t update_message(unsigned format, uint16_t type, const bytes_t &payload = {}, size_t change = 0)
{
    bytes_t head = hex(format == 0 ? "01020304 00*4" : "01020304 00*2 a5a5 e1e2e3e4 00*4");
    const size_t len = head.size() + payload.size() + change;
    put_net(&head, format == 0 ? 6 : 4, type, 2);
    if (format == 0)
        put_net(&head, 4, len, 2);
    else
        put_net(&head, 12, len, 4);
    return head + payload;
}

inline constexpr size_t FETCH_ROOM = 524288;
inline bytes_t fetch_reply(uint16_t flags, const bytes_t &messages = {})
{
    bytes_t reply = hex("00*10 a5a5");
    put_net(&reply, 0, 12 + messages.size(), 4);
    put_net(&reply, 4, 8 + messages.size(), 4);
    put_net(&reply, 8, flags, 2);
    return reply + messages;
}
