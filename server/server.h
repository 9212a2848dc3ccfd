/*
 * The RIB server without its message channel: sessions, protocols and tables, and the handling of one message at a time
 * on plain memory. One thread at a time; nothing blocks.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include <absl/container/btree_map.h>
#include <absl/functional/function_ref.h>

#include "ip/rib/wire/request.h"
#include "server/embed.h"
#include "server/ledger.h"
#include "server/next_hop_tracker.h"
#include "server/policy.h"
#include "server/protocols.h"
#include "server/session.h"
#include "server/tables.h"

/* Lines about refusals in the running period. */
struct rib_refusal_log {
    uint64_t period_end = 0;
    unsigned lines = 0;
    unsigned left_out = 0;
};

struct rib_server {
    /* The clock gives milliseconds of a time that never steps. */
    rib_server(const rib_server_options &server_options, std::function<uint64_t()> clock)
        : options(server_options), now_ms(std::move(clock)), tables(server_options.max_tables, server_options.max_routes)
    {
    }

    rib_server_options options;
    rib_policy policy;
    rib_refusal_log refusals;
    std::function<uint64_t()> now_ms;
    uint32_t node_id = 0;
    rib_tables tables;
    rib_ledger sids;
    rib_ledger iids;
    size_t most_path_attrs = 0; /* bytes that those of one route took when handed out */
    rib_protocols protocols;
    rib_next_hop_tracker next_hops;
    absl::btree_map<uint32_t, std::unique_ptr<rib_session>> sessions; /* by client id */
    uint32_t last_client_id = 0;
    std::vector<rib_session *> stirred; /* sessions for which something may wait since clients were last woken */
};

/* Gives room bytes for the reply, not cleared; NULL without memory. Asked at most once for a message. */
using rib_reply_area = absl::FunctionRef<uint8_t *(size_t room)>;

/* A client has connected; the session lives until rib_server_disconnect(). */
rib_session *rib_server_connect(rib_server &server, const rib_credentials &credentials);
void rib_server_disconnect(rib_server &server, rib_session *session);
/* Serves one message, which may be changed in place. Returns the length of the reply; 0 when there was no area for it. */
size_t rib_server_handle(rib_server &server, rib_session &session, uint8_t *msg, size_t len, rib_reply_area area);
/* Wakes the clients for which something waits; whoever calls the functions here calls this before it waits itself. */
void rib_wake_consumers(rib_server &server);
/* When rib_server_expire() has work next, on the server's clock, or RIB_NEVER. */
uint64_t rib_server_deadline(rib_server &server);
/* Sweeps what has been held long enough. */
void rib_server_expire(rib_server &server);
