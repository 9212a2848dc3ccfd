/*
 * Single requests with replies of a fixed shape.
 */
#include <cstdlib>
#include <cstring>

#include "fuzz/client/operations.h"

static void ask_about_tables(ipv6_rib_conn_p conn)
{
    uint32_t status[2];
    ipv6_rib_get_table_status(conn, FUZZ_TABLE, status);
    ipv6_rib_default_netsource(conn, FUZZ_TABLE, nullptr);
    ipv6_rib_notify_fib_ug_updates(conn);
}

static void register_protocols(ipv6_rib_conn_p conn)
{
    errcode err;
    ipv6_rib_register_protocol(conn, "bgp", "1", 0, 0, 0, 0, &err);
    ipv6_rib_findpdb(conn, "bgp", "1", 0, &err);
}

static void name_protocols(ipv6_rib_conn_p conn)
{
    static char names[RIB_PROTOID_COUNT * RIB_PROTO_NAME_PAIR];
    ipv6_rib_batch_protoid_to_proto_info(conn, 0, nullptr, 0, names);
    look_at(names, sizeof names);
}

static void change_protocols(ipv6_rib_conn_p conn)
{
    errcode err;
    ipv6_rib_modify_protocol(conn, 1, 0, 0, 0, 0, &err);
    ipv6_rib_purge_protocol(conn, 1, 0, 0, 0, &err);
    ipv6_rib_clear_aft_by_vrf(conn, 1, 0, &err);
    ipv6_rib_protocol_unregister(conn, 1, 0);
    ipv6_rib_purge_client(conn, "routed", "node");
    ipv6_rib_update_complete(conn, 1, 0);
    ipv6_rib_free_all_srv6_sid_req(conn, 0, 1, 0, 0);
}

static void change_routes(ipv6_rib_conn_p conn)
{
    ipv6_rib_route_add_args args;
    ipv6_rib_route_add_args_init(&args);
    args.conn = conn;
    uint8_t status;
    errcode err;
    const ipv6_rib_route_add_out out = {&status, &err};
    ipv6_rib_route_add(&args, &out);
    ipv6_rib_route_delete(conn, 1, FUZZ_TABLE, &FUZZ_ADDRESS, 0, &FUZZ_ADDRESS, 0, 0, &status, &err);
    ipv6_rib_set_advertising_flag(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 1, 1);
}

static void redistribute(ipv6_rib_conn_p conn)
{
    ipv6_rib_protocol_redist(conn, "bgp", "1", FUZZ_TABLE, 0, 0, nullptr);
    ipv6_rib_child_protocol_redist(conn, "bgp", "1", FUZZ_TABLE, 0, 0, conn, 0, nullptr);
    ipv6_rib_redist_enable_rcmd_markers(conn, nullptr, nullptr, FUZZ_TABLE);
    ipv6_rib_redist_reset(conn, 0, nullptr);
}

static void ask_about_addresses(ipv6_rib_conn_p conn)
{
    in6_addr_t found;
    uint32_t info, flags;
    ipv6_rib_is_local(conn, FUZZ_TABLE, &FUZZ_ADDRESS, nullptr);
    ipv6_rib_conn_not_local(conn, FUZZ_TABLE, &FUZZ_ADDRESS, nullptr);
    ipv6_rib_match_connected_subnet(conn, FUZZ_TABLE, &FUZZ_ADDRESS, &found, &info, nullptr);
    ipv6_rib_best_local_address_and_check(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, &found, &info, nullptr, &flags);
    ipv6_rib_next_hop(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 0, 0, &found, &flags, nullptr);
}

static void register_next_hop(ipv6_rib_conn_p conn)
{
    rib_nh_info info;
    errcode err;
    ipv6_rib_next_hop_register(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 0, 0, &info, &err);
    if (err == 0 && std::strlen(info.nh_name) > RIB_NH_NAME_MAX)
        std::abort();
    ipv6_rib_next_hop_unregister(conn, FUZZ_TABLE, &FUZZ_ADDRESS, 0, 0, 0, &err);
}

static void check(ipv6_rib_conn_p conn)
{
    constexpr uint32_t reply_len = 256;
    in6_addr_t found;
    uint32_t value, pair[2];
    uint8_t data[reply_len - RIB_CHECK_REPLY_MIN];
    const int len =
        ipv6_rib_get_check(conn, nullptr, FUZZ_TABLE, 0, 0, 0, 0, FUZZ_ADDRESS, &found, &value, data, reply_len, pair);
    if (len > int{sizeof data})
        std::abort();
}

static const client_operation operations[] = {ask_about_tables,    register_protocols, name_protocols,
                                              change_protocols,    change_routes,      redistribute,
                                              ask_about_addresses, register_next_hop,  check};
const client_operations request_operations = operations;
