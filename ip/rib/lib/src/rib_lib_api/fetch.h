/*
 * Fetching updates: passes, the messages of a pass, and the callbacks that hear of them.
 */
#pragma once

#include <cstdarg>

#include <ipv6_rib/update.h>
#include <platform/update_parsers.h>

#include "connection.h"

/* What the caller of a fetch wants to hear. */
class rib_fetch_list
{
public:
    /* Reads the pairs of a callback list from a copy of it. A type that does not exist is reported. */
    explicit rib_fetch_list(va_list list);

    /* The function given for a type, or NULL. */
    template <class callback_td> callback_td get(int type) const { return reinterpret_cast<callback_td>(function_[type]); }
    uint32_t pass_limit() const { return pass_limit_; } /* 0 for none */
    bool limited() const { return limited_; }           /* a limit was given, whatever its value */

private:
    using any_function = void (*)();
    static constexpr int highest = RIB_UPDATE_STATE;

    any_function function_[highest + 1] = {};
    uint32_t pass_limit_ = 0;
    bool limited_ = false;
};

/* What the messages of one reply have in common. */
struct rib_fetch_pass {
    const rib_fetch_list &list;
    void *context;
    uint32_t format;              /* 0 or 1 */
    rib_state_record record = {}; /* keeps what an earlier message of the reply has set */
};

/* Takes the messages from begin to end and hands each to its callback. What is malformed is reported. */
void rib_client_take_messages(rib_fetch_pass &pass, uint8_t *begin, uint8_t *end);
/* Hands one message to its callback. */
void rib_client_dispatch_message(rib_fetch_pass &pass, const rib_update_info_t &info);

/* Fetches until nothing waits any more; the code, negated. */
int32_t rib_client_redistribute_fetch(ip_rib_conn_p conn, void *context, errcode *err, va_list list);
