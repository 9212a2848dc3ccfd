/*
 * Batches of routes, and the walks over their results.
 */
#include "fuzz/client/operations.h"

static void walk_paths(void *route)
{
    for (void *path = ipv6_rib_batch_route_out_first_path(route); path; path = ipv6_rib_batch_route_out_next_path(route, path))
        look_at(path, sizeof(rib_batch_path_out));
}

/* A walk may leave out what it does not ask for: paths, or the routes of a table. */
static void walk_records(void *reply, bool paths)
{
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at))
        if (paths)
            walk_paths(at);
}

static void walk_tables(void *reply, bool routes, bool paths)
{
    for (void *table = nullptr; (table = ipv6_rib_batch_args_out_next_table(reply, table));) {
        look_at(table, sizeof(rib_batch_table_out));
        for (void *route = nullptr; routes && (route = ipv6_rib_batch_tbl_out_next_route(reply, table, route));)
            if (paths)
                walk_paths(route);
    }
}

/* The reply area after a batch was sent. */
static void *send_batch(ipv6_rib_conn_p conn)
{
    static rib_batch_buffer *buffer = ipv6_rib_batch_buffer_allocate(1);
    static void *reply = ipv6_rib_batch_args_out_allocate();
    ipv6_rib_batch_buffer_init2(buffer);
    ipv6_rib_batch_table_init(buffer, FUZZ_TABLE, 1);
    ipv6_rib_batch_buffer_complete(buffer);
    ipv6_rib_batch_buffer_send(conn, buffer, reply);
    return reply;
}

static const client_operation operations[] = {
    [](auto conn) { walk_records(send_batch(conn), true); },        [](auto conn) { walk_records(send_batch(conn), false); },
    [](auto conn) { walk_tables(send_batch(conn), true, true); },   [](auto conn) { walk_tables(send_batch(conn), true, false); },
    [](auto conn) { walk_tables(send_batch(conn), false, false); },
};
const client_operations batch_operations = operations;
