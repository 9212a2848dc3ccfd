/*
 * The table of operations.
 */
#include "tests/faults/operations.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

namespace
{
constexpr rib_tableid_td TABLE = IPV6_RIB_TABLE_DEFAULT;
constexpr errcode NO_MEMORY = RIB_LIB_ERR_NO_MEMORY, BATCH_SEND = RIB_LIB_ERR_BATCH_SEND;
constexpr errcode RPC_ERROR = static_cast<errcode>(RIB_RESULT_RPC_ERROR),
                  NO_AREA = static_cast<errcode>(RIB_RESULT_TOO_MANY_PATHS);
constexpr errcode NO_PULSE = 0xFFFFFFF0; /* none came in time */
constexpr unsigned batch_routes = 500;

using manager_ptr = std::unique_ptr<event_manager_t, decltype(&event_manager_destroy)>;
using buffer_ptr = std::unique_ptr<rib_batch_buffer, decltype(&ipv6_rib_batch_buffer_free)>;
using chain_ptr = std::unique_ptr<rib_batch_buffer, decltype(&ipv6_rib_batch_proto_buffer_free)>;
using area_ptr = std::unique_ptr<void, decltype(&ipv6_rib_batch_args_out_free)>;

fault_outcome coded(errcode code, const std::string &answer)
{
    return {code, code == 0 ? answer : ""};
}
fault_outcome coded(errcode code, uint64_t answer)
{
    return coded(code, std::to_string(answer));
}
fault_outcome told_by_sign(int result)
{
    return {result == 0 ? 0 : FAILED};
}
errcode last_errno()
{
    return static_cast<errcode>(errno);
}

template <auto bind_function> fault_outcome bind_and_unbind(fault_client &)
{
    ipv6_rib_conn_p conn = nullptr;
    if (bind_function(&conn) < 0)
        return {FAILED};
    const std::string answer = "node " + std::to_string(ipv6_rib_collocated(conn));
    ipv6_rib_unbind(&conn);
    return {0, answer};
}

fault_outcome rebind(fault_client &rig)
{
    return {ipv6_rib_rebind(rig.conn) < 0 ? FAILED : 0};
}

void ignore_event(void *, uint32_t, void *) {}

fault_outcome notify(fault_client &)
{
    const manager_ptr manager(event_manager_create(), event_manager_destroy);
    if (!manager)
        return {last_errno()};
    const errcode code = ipv6_rib_notify(manager.get(), 1, ignore_event, nullptr);
    const errcode undone = ipv6_rib_unnotify(manager.get());
    EXPECT_EQ(undone == 0, code == 0);
    return {code};
}

uint32_t connect_state;

void on_connect(uint32_t event, ipv6_rib_conn_p, uint32_t)
{
    connect_state = event;
}

/* The first attempt; when it fails the next one is a second away. */
fault_outcome connect_client(fault_client &)
{
    const manager_ptr manager(event_manager_create(), event_manager_destroy);
    if (!manager)
        return {last_errno()};
    errcode code = FAILED;
    connect_state = 0;
    ipv6_rib_connect_client(manager.get(), ignore_event, on_connect, &code);
    for (int ran = 0; code == 0 && ran == 0;)
        ran = event_manager_dispatch(manager.get(), 1000);
    ipv6_rib_conn_p conn = ipv6_rib_connect_client(manager.get(), ignore_event, on_connect, nullptr);
    ipv6_rib_destroy_client(0, nullptr);
    ipv6_rib_unbind(&conn);
    ipv6_rib_unnotify(manager.get());
    return {code != 0 || connect_state == IPV6_RIB_ESTABLISHED ? code : FAILED};
}

/* Routes below 2001::/32 of which an update fetch told. */
struct told_routes {
    std::set<std::string> prefixes;
    static void take(uint32_t, ipv6_routetype *route, void *context)
    {
        static const uint8_t begin[4] = {0x20, 0x01};
        if (std::memcmp(route->rt_prefix, begin, sizeof begin) == 0)
            static_cast<told_routes *>(context)->prefixes.insert(text_of(route->rt_prefix) + " " +
                                                                 text_of(route->rt_path[0].path_nexthop));
    }
    errcode fetch(ipv6_rib_conn_p conn)
    {
        errcode code = FAILED;
        ipv6_rib_fetch_update(conn, this, &code, RIB_UPDATE_ROUTES, take, RIB_UPDATE_END);
        return code;
    }
    std::string text() const
    {
        std::string all;
        for (const std::string &each : prefixes)
            all += each + "\n";
        return all;
    }
};

errcode ask_for_table(ipv6_rib_conn_p conn)
{
    uint16_t count;
    if (const errcode code = ipv6_rib_redist_batch_init(conn, RIB_REDIST_ALL))
        return code;
    if (const errcode code = ipv6_rib_redist_batch_register(conn, 1, TABLE, RIB_REDIST_ALL, 0, 0, &count))
        return code;
    return ipv6_rib_redist_batch_finish(conn, &count);
}

fault_outcome redist_and_fetch(fault_client &rig)
{
    told_routes told;
    errcode code = ask_for_table(rig.conn);
    if (code == 0)
        code = told.fetch(rig.conn);
    return coded(code, told.text());
}

void count_pulse(void *, uint32_t, void *context)
{
    ++*static_cast<unsigned *>(context);
}

/* Waits for a pulse and fetches. */
errcode fetch_on_pulse(event_manager_t *manager, ipv6_rib_conn_p conn, const unsigned &pulses, told_routes *told)
{
    for (int i = 0; i != 20 && pulses == 0; i++)
        event_manager_dispatch(manager, 50);
    return pulses == 0 ? NO_PULSE : told->fetch(conn);
}

fault_outcome wait_for_pulse(fault_client &)
{
    const manager_ptr manager(event_manager_create(), event_manager_destroy);
    if (!manager)
        return {last_errno()};
    unsigned pulses = 0;
    told_routes told;
    errcode code = ipv6_rib_notify(manager.get(), 1, count_pulse, &pulses);
    if (code != 0)
        return {code};
    ipv6_rib_conn_p conn = nullptr;
    code = ipv6_rib_bind_mevm(manager.get(), &conn) < 0 ? FAILED : ask_for_table(conn);
    if (code == 0)
        code = fetch_on_pulse(manager.get(), conn, pulses, &told);
    ipv6_rib_unbind(&conn);
    EXPECT_EQ(ipv6_rib_unnotify(manager.get()), 0u);
    return coded(code, told.text());
}

fault_outcome register_protocol_2(fault_client &rig)
{
    const rib_register_protocol_in in = {.proto_name = "subject", .instance_name = "second"};
    errcode code = FAILED;
    ipv6_rib_register_protocol_2(rig.conn, &in, &code);
    return {code};
}

fault_outcome protocol_names(fault_client &rig)
{
    char names[96][RIB_PROTO_NAME_PAIR] = {};
    const errcode code = ipv6_rib_batch_protoid_to_proto_info(rig.conn, 0, &rig.protoid, 1, names);
    return coded(code, std::string(names[0]));
}

/* The lookups, for addresses whose best route never changes. */
template <auto look> fault_outcome lookup(fault_client &rig)
{
    const auto route = std::make_unique<ipv6_routetype>();
    errcode code = FAILED;
    const int found = look(rig.conn, route.get(), &code);
    if (!found)
        return {code};
    return {code, text_of(route->rt_prefix) + " " + text_of(route->rt_path[0].path_nexthop)};
}
int look_up(ipv6_rib_conn_p conn, ipv6_routetype *route, errcode *code)
{
    const in6_addr_t asked = addr("2001:0:5::1");
    return ipv6_rib_route_lookup(conn, TABLE, &asked, 128, RIB_LOOKUP_LONGEST, 0, route, code);
}
int look_up_internal(ipv6_rib_conn_p conn, ipv6_routetype *route, errcode *code)
{
    const in6_addr_t asked = addr("2001:0:5::1");
    return ipv6_rib_route_lookup_internal(conn, TABLE, &asked, 128, RIB_LOOKUP_LONGEST, 0, route, code);
}
int look_longer(ipv6_rib_conn_p conn, ipv6_routetype *route, errcode *code)
{
    const in6_addr_t asked = addr("2001:0:5::");
    return ipv6_rib_route_lookup_longer_internal(conn, TABLE, &asked, 40, 0, route, code);
}
int look_in_range(ipv6_rib_conn_p conn, ipv6_routetype *route, errcode *code)
{
    const in6_addr_t asked = addr("2001:0:5::1");
    return ipv6_rib_route_lookup_longer_range_internal(conn, TABLE, &asked, 8, 60, route, code);
}

fault_outcome list_routes(fault_client &rig)
{
    uint32_t flag = RIB_FETCH_FROM_START, count = 0;
    void *routes = nullptr;
    const errcode code =
        ipv6_rib_get_routes(rig.conn, TABLE, "keeper", "test", {}, 0, addr("2001::"), 32, &flag, &count, 0, &routes);
    std::string answer;
    rib_get_route_iter iter;
    ipv6_routetype *route = nullptr;
    for (errcode at = code ? code : ipv6_rib_get_route_get_first_route(routes, &iter, &route); at == 0 && route;
         at = ipv6_rib_get_route_get_next_route(&iter, &route)) {
        ipv6_rib_route_xform(route);
        answer += text_of(route->rt_prefix) + " " + text_of(route->rt_path[0].path_nexthop) + "\n";
    }
    ipv6_rib_route_free(routes);
    return coded(code, answer);
}

void fill(rib_batch_buffer *buffer, rib_protoid_td protoid)
{
    const in6_addr_t hop = addr("2001:db8:1::4");
    ipv6_rib_batch_buffer_init(buffer, TABLE, protoid);
    for (unsigned i = 0; i != batch_routes; i++) {
        const in6_addr_t prefix = numbered_prefix(0x10000 + i);
        ipv6_rib_batch_buffer_add_route(buffer, &prefix, 48, 0, 1);
        ipv6_rib_batch_buffer_add_path(buffer, 0, 0, &hop, &hop, 0, 0, 0);
    }
}

fault_outcome send_batch(fault_client &rig)
{
    const buffer_ptr buffer(ipv6_rib_batch_buffer_allocate(0), ipv6_rib_batch_buffer_free);
    const area_ptr reply(ipv6_rib_batch_args_out_allocate(), ipv6_rib_batch_args_out_free);
    if (!buffer || !reply)
        return {NO_MEMORY};
    fill(buffer.get(), rig.protoid);
    const int status = ipv6_rib_batch_buffer_send(rig.conn, buffer.get(), reply.get());
    unsigned done = 0;
    void *first = status > 0 ? ipv6_rib_batch_args_out_first_route(reply.get()) : nullptr;
    for (void *at = first; at; at = ipv6_rib_batch_args_out_next_route(reply.get(), at)) {
        const auto *route = static_cast<const rib_batch_route_out *>(at);
        done += route->ro_type == RIB_BATCH_OUT_ROUTE && route->ro_result >= 0 && route->ro_result <= RIB_RESULT_EXISTS;
    }
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(buffer.get()), 1);
    return coded(status > 0 ? 0 : static_cast<errcode>(status), done);
}

fault_outcome send_protocols(fault_client &rig)
{
    const chain_ptr chain(ipv6_rib_batch_proto_buffer_allocate(20), ipv6_rib_batch_proto_buffer_free);
    if (!chain)
        return {NO_MEMORY};
    ipv6_rib_batch_proto_buffer_init(chain.get());
    const rib_register_protocol_in in = {.instance_name = "third"};
    EXPECT_EQ(ipv6_rib_batch_buffer_add_proto(chain.get(), &in), RIB_BATCH_BUFFER_OK);
    rib_proto_result results[20] = {};
    uint32_t count = 0;
    const int status = ipv6_rib_batch_proto_buffer_send(rig.conn, chain.get(), results, 20, &count);
    return coded(status > 0 ? 0 : static_cast<errcode>(status), count + results[0].pr_err);
}

fault_outcome add_route(fault_client &rig)
{
    ipv6_rib_route_add_args args;
    ipv6_rib_route_add_args_init(&args);
    args.conn = rig.conn;
    args.protoid = rig.protoid;
    args.table = TABLE;
    args.prefix = addr("2001:db8:3::");
    args.prefix_len = 48;
    args.next_hop = addr("2001:db8:1::4");
    errcode code = 0;
    const ipv6_rib_route_add_out out = {.err = &code};
    const int result = ipv6_rib_route_add(&args, &out);
    EXPECT_EQ(result == RIB_RESULT_RPC_ERROR, code != 0);
    return {result == RIB_RESULT_RPC_ERROR || result > RIB_RESULT_EXISTS ? code : 0};
}

fault_outcome delete_route(fault_client &rig)
{
    const in6_addr_t prefix = addr("2001:db8:4::"), hop = {};
    return {ipv6_rib_route_delete(rig.conn, rig.protoid, TABLE, &prefix, 48, &hop, 0, 0, nullptr, nullptr)};
}

template <auto flag> fault_outcome advertise(fault_client &rig)
{
    const in6_addr_t prefix = addr("2001:0:5::");
    return told_by_sign(flag(rig, &prefix));
}
int flag_1(fault_client &rig, const in6_addr_t *prefix)
{
    return ipv6_rib_set_advertising_flag(rig.conn, TABLE, prefix, 48, rig.protoid, 1);
}
int flag_3(fault_client &rig, const in6_addr_t *prefix)
{
    return ipv6_rib_set_advertising_flag3(rig.conn, TABLE, prefix, 48, rig.protoid, 1, 0, 0, nullptr);
}

fault_outcome redist_protocol(fault_client &rig)
{
    errcode code = FAILED;
    ipv6_rib_protocol_redist(rig.conn, "keeper", "test", TABLE, 0, RIB_REDIST_ALL, &code);
    return {code};
}
fault_outcome redist_child(fault_client &rig)
{
    errcode code = FAILED;
    ipv6_rib_child_protocol_redist(rig.conn, "keeper", "test", TABLE, 1, RIB_REDIST_ALL, nullptr, 0, &code);
    return {code};
}

/* A hundred records go out before the batch is finished. */
fault_outcome next_hop_batch(fault_client &rig)
{
    errcode code = ipv6_rib_nh_batch_init(rig.conn, 0);
    for (uint8_t i = 0; i != 150 && code == 0; i++) {
        in6_addr_t hop = addr("2001:db8:1::");
        hop.s6_addr[15] = i;
        code = ipv6_rib_nh_batch_register(rig.conn, 1, TABLE, &hop, 0, i);
    }
    if (code == 0)
        code = ipv6_rib_nh_batch_register_converge(rig.conn, TABLE);
    if (code == 0)
        code = ipv6_rib_nh_batch_finish(rig.conn);
    return {code};
}
fault_outcome next_hop_at_once(fault_client &rig)
{
    const in6_addr_t hop = addr("2001:db8:1::9");
    rib_next_hop_update way = {};
    const errcode code = ipv6_rib_nh_batch_sync_register(rig.conn, TABLE, &hop, 0, 7, &way);
    return coded(code, way.nu_value);
}

/* Requests that give a number and a code. */
template <auto ask> fault_outcome question(fault_client &rig)
{
    const in6_addr_t asked = addr("2001:db8:1::1");
    errcode code = FAILED;
    const uint64_t answer = ask(rig, &asked, &code);
    return coded(code, answer);
}
#define QUESTION(call)                                                                                                           \
    question<[]([[maybe_unused]] fault_client &rig, [[maybe_unused]] const in6_addr_t *asked, errcode *code) -> uint64_t {       \
        return static_cast<uint64_t>(call);                                                                                      \
    }>
#define REQUEST(call) [](fault_client &rig) -> fault_outcome { return {call}; }

fault_outcome match_subnet(fault_client &rig)
{
    const in6_addr_t asked = addr("2001:db8:1::1");
    in6_addr_t prefix = {};
    uint32_t len = 0;
    errcode code = FAILED;
    ipv6_rib_match_connected_subnet(rig.conn, TABLE, &asked, &prefix, &len, &code);
    return coded(code, text_of(&prefix) + "/" + std::to_string(len));
}
template <bool check> fault_outcome best_local(fault_client &rig)
{
    const in6_addr_t asked = addr("2001:db8:1::5");
    in6_addr_t found = {};
    uint32_t flags = 0;
    errcode code = FAILED;
    if (check)
        ipv6_rib_best_local_address_and_check(rig.conn, TABLE, &asked, 0, &found, nullptr, &code, &flags);
    else
        ipv6_rib_best_local_address(rig.conn, TABLE, &asked, 0, &found, nullptr, &code);
    return coded(code, text_of(&found) + " " + std::to_string(flags));
}
fault_outcome next_hop(fault_client &rig)
{
    const in6_addr_t asked = addr("2001:0:5::1");
    in6_addr_t hop = {};
    uint32_t flags = 0;
    errcode code = FAILED;
    ipv6_rib_next_hop(rig.conn, TABLE, &asked, 0, 0, 0, &hop, &flags, &code);
    return coded(code, text_of(&hop));
}
fault_outcome next_hop_register(fault_client &rig)
{
    const in6_addr_t asked = addr("2001:db8:1::2");
    rib_nh_info info = {};
    errcode code = FAILED;
    ipv6_rib_next_hop_register(rig.conn, TABLE, &asked, 0, 0, 0, &info, &code);
    return coded(code, text_of(&info.nh_address) + " " + info.nh_name);
}
fault_outcome check(fault_client &rig)
{
    in6_addr_t found = {};
    uint32_t value = 0, pair[2] = {};
    uint8_t data[512];
    const int len =
        ipv6_rib_get_check(rig.conn, nullptr, TABLE, 128, 0, 0, 0, addr("2001:0:5::1"), &found, &value, data, sizeof data, pair);
    return coded(len < 0 ? FAILED : 0, text_of(&found) + " " + std::to_string(len));
}
} // namespace

#define BY_ERRNO                                                                                                                 \
    {NO_MEMORY},                                                                                                                 \
    {                                                                                                                            \
        ANY_ERRNO                                                                                                                \
    }

/* In each row: the codes without memory, and those of a channel that failed. */
const std::vector<fault_operation> &fault_operations()
{
    static const std::vector<fault_operation> all = {
        {"bind", bind_and_unbind<ipv6_rib_bind>, {FAILED}, {FAILED}},
        {"bind to the standby server", bind_and_unbind<ipv6_rib_bind_standby>, {FAILED}, {FAILED}},
        {"bind to a version of the active server", bind_and_unbind<ipv6_rib_bind_primary_active>, {FAILED}, {FAILED}},
        {"rebind", rebind, {FAILED}, {FAILED}, true},
        {"bind data",
         REQUEST(ipv6_rib_client_bind_data(rig.conn, nullptr, 0, 0, 2)),
         {NO_MEMORY},
         {ANY_ERRNO, RIB_LIB_ERR_CLIENT_INFO}},
        {"notify", notify, {ENOMEM, EINVAL}, {ANY_ERRNO}},
        {"connect client", connect_client, {ENOMEM, EINVAL, FAILED}, {ANY_ERRNO, FAILED}},
        {"wait for a pulse", wait_for_pulse, {ENOMEM, EINVAL, FAILED, NO_MEMORY, NO_PULSE}, {ANY_ERRNO, FAILED, BATCH_SEND}},
        {"register a protocol", register_protocol_2, BY_ERRNO},
        {"find a protocol", QUESTION(ipv6_rib_findpdb(rig.conn, "keeper", "test", 0, code)), BY_ERRNO},
        {"modify a protocol", QUESTION(ipv6_rib_modify_protocol(rig.conn, rig.protoid, 0, 0, 0, 0, code)), BY_ERRNO},
        {"unregister a protocol", REQUEST(ipv6_rib_protocol_unregister(rig.conn, rig.protoid, 0)), BY_ERRNO},
        {"purge a protocol", QUESTION(ipv6_rib_purge_protocol(rig.conn, rig.protoid, 0, 0, 0, code)), BY_ERRNO},
        {"purge a client", REQUEST(ipv6_rib_purge_client(rig.conn, "nobody", "nowhere")), BY_ERRNO},
        {"update complete", REQUEST(ipv6_rib_update_complete(rig.conn, rig.protoid, 0)), BY_ERRNO},
        {"clear a table of a VRF", QUESTION(ipv6_rib_clear_aft_by_vrf(rig.conn, rig.protoid, 0, code)), BY_ERRNO},
        {"names of protocols", protocol_names, BY_ERRNO},
        {"forwarding-table updates", REQUEST(ipv6_rib_notify_fib_ug_updates(rig.conn)), BY_ERRNO},
        {"free SIDs", REQUEST(ipv6_rib_free_all_srv6_sid_req(rig.conn, 0, rig.protoid, 0, 0)), BY_ERRNO},
        {"lookup", lookup<look_up>, BY_ERRNO},
        {"lookup as received", lookup<look_up_internal>, BY_ERRNO},
        {"lookup of longer ones", lookup<look_longer>, BY_ERRNO},
        {"lookup in a range", lookup<look_in_range>, BY_ERRNO},
        {"list routes", list_routes, {ENOMEM}, {ANY_ERRNO}},
        {"send a batch", send_batch, {NO_MEMORY}, {RPC_ERROR}},
        {"send protocols", send_protocols, {NO_MEMORY, NO_AREA}, {RPC_ERROR}},
        {"add a route", add_route, BY_ERRNO},
        {"delete a route", delete_route, BY_ERRNO},
        {"advertise", advertise<flag_1>, {FAILED}, {FAILED}},
        {"advertise with words", advertise<flag_3>, {FAILED}, {FAILED}},
        {"redistribute a protocol", redist_protocol, BY_ERRNO},
        {"redistribute for a child", redist_child, BY_ERRNO},
        {"markers", REQUEST(ipv6_rib_redist_enable_rcmd_markers(rig.conn, "keeper", "test", TABLE)), BY_ERRNO},
        {"reset redistribution", QUESTION(ipv6_rib_redist_reset(rig.conn, 0, code)), BY_ERRNO},
        {"default route", QUESTION(ipv6_rib_default_netsource(rig.conn, TABLE, code)), BY_ERRNO},
        {"redistribute a table and fetch", redist_and_fetch, {NO_MEMORY}, {ANY_ERRNO, BATCH_SEND}},
        {"batch of next hops", next_hop_batch, {NO_MEMORY}, {BATCH_SEND}},
        {"next hop at once", next_hop_at_once, {NO_MEMORY}, {BATCH_SEND}},
        {"is local", QUESTION(ipv6_rib_is_local(rig.conn, TABLE, asked, code)), BY_ERRNO},
        {"is connected", QUESTION(ipv6_rib_is_connected(rig.conn, TABLE, asked, code)), BY_ERRNO},
        {"connected and not local", QUESTION(ipv6_rib_conn_not_local(rig.conn, TABLE, asked, code)), BY_ERRNO},
        {"connected subnet", match_subnet, BY_ERRNO},
        {"best local address", best_local<false>, BY_ERRNO},
        {"best local address and check", best_local<true>, BY_ERRNO},
        {"next hop", next_hop, BY_ERRNO},
        {"register a next hop", next_hop_register, BY_ERRNO},
        {"unregister a next hop", QUESTION(ipv6_rib_next_hop_unregister(rig.conn, TABLE, asked, 0, 0, 0, code)), BY_ERRNO},
        {"check", check, {FAILED}, {FAILED}},
    };
    return all;
}

std::ostream &operator<<(std::ostream &out, const fault_outcome &outcome)
{
    return out << std::hex << outcome.code << std::dec << " \"" << outcome.answer.substr(0, 400) << '"';
}

bool is_told(const std::vector<errcode> &codes, errcode code)
{
    return std::any_of(codes.begin(), codes.end(),
                       [code](errcode each) { return each == code || (each == ANY_ERRNO && code > 0 && code < 4096); });
}
