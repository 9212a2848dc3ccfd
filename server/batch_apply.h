/*
 * Applying a checked batch message, record by record, with a result for each written behind the one before.
 */
#pragma once

#include <ipv6_rib/errors.h>

#include "server/batch_parse.h"
#include "server/server.h"

/* The state of one message while it is applied. */
struct rib_batch_run {
    rib_server &server;
    rib_session &session;
    uint8_t *out; /* where the next result goes */
    rib_protocol *protocol = nullptr;
    rib_table *table = nullptr;
    int32_t refusal = 0; /* RIB result of every route while there is no protocol and table to put it in */
    uint32_t refused = 0;
    uint32_t count = 0;
    uint16_t markers = 0;
};

inline bool rib_result_refuses(int32_t result)
{
    return result < 0 || result > RIB_RESULT_EXISTS;
}

/* The next size bytes of the reply, cleared. */
uint8_t *rib_batch_result(rib_batch_run &run, size_t size);

/* Makes protocol and table those of the records that follow; when that fails, run.refusal is why. */
void rib_batch_open_table(rib_batch_run &run, rib_tableid_td table, rib_protoid_td protoid);
/* Applies the records of a route batch, msg to msg + len. */
void rib_batch_apply(rib_batch_run &run, const uint8_t *msg, size_t len);
/* The prefix of a route record. */
inline rib_prefix rib_batch_prefix(const uint8_t *route)
{
    return rib_prefix_load(route + offsetof(bori_fixed, borfi_prefix), route[offsetof(bori_fixed, borfi_prefixlen)]);
}
/* Applies one route record and its paths; returns the byte behind them. */
const uint8_t *rib_batch_apply_route(rib_batch_run &run, const uint8_t *record);
/* Applies the records of a protocol batch. */
void rib_batch_apply_protocols(rib_batch_run &run, const uint8_t *msg, size_t entries);
