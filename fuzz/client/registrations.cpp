/*
 * Batches of next hops and of redistributions.
 */
#include "fuzz/client/operations.h"

/* More than one message, of which the hundredth record sends the first. */
static void follow_next_hops(ipv6_rib_conn_p conn)
{
    ipv6_rib_nh_batch_init(conn, 0);
    for (uint32_t number = 0; number < 100; ++number)
        ipv6_rib_nh_batch_register(conn, 1, FUZZ_TABLE, &FUZZ_ADDRESS, 0, number);
    ipv6_rib_nh_batch_register_converge(conn, FUZZ_TABLE);
    ipv6_rib_nh_batch_finish(conn);
    ipv6_rib_nh_batch_free(conn);
}

static void register_at_once(ipv6_rib_conn_p conn)
{
    rib_next_hop_update told = {};
    ipv6_rib_nh_batch_sync_register(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 0, &told);
    look_at(&told, sizeof told);
}

template <uint64_t flags> static void redistribute_tables(ipv6_rib_conn_p conn)
{
    uint16_t count = 0;
    ipv6_rib_redist_batch_init2(conn, RIB_REDIST_BEST, flags);
    ipv6_rib_redist_batch_register(conn, 1, FUZZ_TABLE, RIB_REDIST_BEST, 0, 0, &count);
    ipv6_rib_redist_batch_finish(conn, &count);
    ipv6_rib_redist_batch_free(conn);
}

/* Steps that a session may put together in any order. */
static void open_next_hops(ipv6_rib_conn_p conn)
{
    ipv6_rib_nh_batch_init(conn, 1);
}
static void add_next_hops(ipv6_rib_conn_p conn)
{
    for (uint32_t number = 0; number < 60; ++number)
        ipv6_rib_nh_batch_register(conn, number % 2, FUZZ_TABLE, &FUZZ_ADDRESS, number, number);
}
static void finish_next_hops(ipv6_rib_conn_p conn)
{
    ipv6_rib_nh_batch_finish(conn);
}
static void open_redistributions(ipv6_rib_conn_p conn)
{
    ipv6_rib_redist_batch_init(conn, RIB_REDIST_BEST);
}
static void add_redistributions(ipv6_rib_conn_p conn)
{
    uint16_t count;
    for (rib_tableid_td table = 1; table < 400; ++table)
        ipv6_rib_redist_batch_register(conn, 1, table, RIB_REDIST_BEST, 0, 0, &count);
}
static void finish_redistributions(ipv6_rib_conn_p conn)
{
    uint16_t count;
    ipv6_rib_redist_batch_finish(conn, &count);
}

static const client_operation operations[] = {
    follow_next_hops,    register_at_once,       redistribute_tables<0>, redistribute_tables<RIB_REDIST_INIT_ISSU>,
    open_next_hops,      add_next_hops,          finish_next_hops,       open_redistributions,
    add_redistributions, finish_redistributions,
};
const client_operations registration_operations = operations;
