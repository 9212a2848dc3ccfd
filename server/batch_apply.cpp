/*
 * Tables and markers of a route batch.
 */
#include "server/batch_apply.h"

#include <array>
#include <cstring>
#include <new>

#include "ip/rib/wire/batch_results.h"
#include "server/lifecycle.h"
#include "server/redistribution.h"

/* Enough for their searches to hide one another's waits for memory. */
constexpr size_t ROUTES_AT_ONCE = 16;

uint8_t *rib_batch_result(rib_batch_run &run, size_t size)
{
    uint8_t *result = run.out;
    std::memset(result, 0, size);
    run.out += size;
    return result;
}

void rib_batch_open_table(rib_batch_run &run, rib_tableid_td table, rib_protoid_td protoid)
{
    run.protocol = nullptr;
    run.table = nullptr;
    run.refusal = RIB_RESULT_INVALID_HANDLE;
    if (rib_protocol_owned(run.server, run.session, protoid, &run.protocol) != 0)
        return;
    run.table = run.server.tables.open(table);
    run.refusal = run.table ? RIB_RESULT_OK : RIB_RESULT_TABLE_LIMIT;
}

static void apply_table(rib_batch_run &run, const uint8_t *bytes)
{
    auto record = rib_load<rib_batch_table_rec_td>(bytes);
    rib_to_host(&record);
    rib_batch_open_table(run, record.bti_table, record.bti_protoid);
    auto *out = new (rib_batch_result(run, sizeof(rib_batch_table_out))) rib_batch_table_out{};
    out->to_type = RIB_BATCH_RES_TABLE;
    out->to_protoid = record.bti_protoid;
    out->to_table = record.bti_table;
    out->to_result = static_cast<int16_t>(run.refusal);
    rib_batch_table_out_net::swap(out);
    ++run.count;
    run.refused += run.refusal != 0;
}

static void accept_marker(rib_batch_run &run)
{
    run.markers = static_cast<uint16_t>(run.markers + (run.markers != UINT16_MAX));
}

static void apply_complete(rib_batch_run &run)
{
    if (!run.protocol)
        return;
    rib_protocol_complete(run.server, *run.protocol);
    accept_marker(run);
}

static void apply_converge(rib_batch_run &run, const uint8_t *bytes)
{
    auto record = rib_load<rib_batch_converge_rec_td>(bytes);
    rib_to_host(&record);
    rib_table *table = record.bcv_a ? run.server.tables.find(record.bcv_a) : run.table;
    if (!run.protocol || !table)
        return;
    table->converged = true;
    rib_tell_converged(run.server, table->id(), run.protocol->id);
    rib_next_hops_converged(run.server, table->id());
    accept_marker(run);
}

/* Applies the routes of one table that stand at the beginning of these records, a number of them at most. */
static const uint8_t *apply_routes(rib_batch_run &run, const uint8_t *at, const uint8_t *end)
{
    std::array<rib_table::hint_td, ROUTES_AT_ONCE> hints;
    size_t count = 0;
    for (const uint8_t *ahead = at; count != ROUTES_AT_ONCE && ahead != end && ahead[0] == RIB_BATCH_REC_ROUTE; ++count) {
        if (run.table)
            run.table->expect(rib_batch_prefix(ahead), &hints[count]);
        ahead += rib_batch_whole_route_len(ahead);
    }
    for (size_t route = 0; run.table && route != count; ++route)
        run.table->approach(&hints[route]);
    for (size_t route = 0; route != count; ++route) {
        if (run.table)
            run.table->recall(hints[route]);
        at = rib_batch_apply_route(run, at);
    }
    return at;
}

void rib_batch_apply(rib_batch_run &run, const uint8_t *msg, size_t len)
{
    auto header = rib_load<rib_batch_header_td>(msg);
    rib_to_host(&header);
    run.refusal = RIB_RESULT_NO_TABLE;
    if (header.bah_argument == RIB_BATCH_SINGLE_TABLE) {
        const rib_batch_single_td &single = header.bai_opinfo.single;
        rib_batch_open_table(run, rib_load_net<rib_tableid_td>(&single.bst_table),
                             rib_load_net<rib_protoid_td>(&single.bst_protoid));
    }
    for (const uint8_t *at = msg + sizeof header, *end = msg + len; at != end;) {
        switch (at[0]) {
        case RIB_BATCH_REC_TABLE:
            apply_table(run, at);
            at += sizeof(rib_batch_table_rec_td);
            break;
        case RIB_BATCH_REC_COMPLETE:
            apply_complete(run);
            at += sizeof(rib_batch_complete_rec_td);
            break;
        case RIB_BATCH_REC_CONVERGE:
            apply_converge(run, at);
            at += sizeof(rib_batch_converge_rec_td);
            break;
        default:
            at = apply_routes(run, at, end);
        }
    }
}
