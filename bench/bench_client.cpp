/*
 * The run directory, and clients.
 */
#include "bench_client.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

const std::string &bench_run_dir()
{
    struct run_dir {
        std::string path = "/tmp/rib_bench_XXXXXX";
        run_dir()
        {
            if (!mkdtemp(path.data()))
                throw std::runtime_error("no run directory");
            setenv("MSG_CHAN_DIR", path.c_str(), 1);
        }
        ~run_dir() { std::filesystem::remove_all(path); }
    };
    static const run_dir dir;
    return dir.path;
}

in6_addr_t bench_prefix(uint32_t number)
{
    in6_addr_t addr = {};
    addr.s6_addr[0] = 0x20;
    const uint32_t net = __builtin_bswap32(number);
    std::memcpy(&addr.s6_addr[2], &net, sizeof net);
    return addr;
}

uint32_t bench_number(const uint8_t *prefix)
{
    uint32_t net;
    std::memcpy(&net, prefix + 2, sizeof net);
    return __builtin_bswap32(net);
}

bench_client::bench_client(const char *instance)
{
    errcode err;
    if (ipv6_rib_bind(&conn) == -1)
        throw std::runtime_error("no server");
    const rib_protoid_td protoid = ipv6_rib_register_protocol(conn, "bench", instance, RIB_PROTO_KIND_STATIC, 0, 0, 0, &err);
    ipv6_rib_batch_buffer_init(buffer_, IPV6_RIB_TABLE_DEFAULT, protoid);
}

bench_client::~bench_client()
{
    ipv6_rib_batch_args_out_free(reply);
    ipv6_rib_batch_buffer_free(buffer_);
    ipv6_rib_unbind(&conn);
}

void bench_client::add_route(uint32_t route)
{
    const in6_addr_t prefix = bench_prefix(route);
    ipv6_rib_batch_buffer_add_route(buffer_, &prefix, bench_prefix_len, 0, 0);
}

int bench_client::send_full_batch(uint32_t routes)
{
    while (ipv6_rib_batch_buffer_route_fits(buffer_, 1))
        announce(number++ % routes);
    return ipv6_rib_batch_buffer_send(conn, buffer_, reply);
}

void bench_client::announce(uint32_t route)
{
    if (!ipv6_rib_batch_buffer_route_fits(buffer_, 1))
        flush();
    add_route(route);
    ipv6_rib_batch_buffer_add_path(buffer_, 0, 0, &nexthop_, &nexthop_, 0, 0, 0);
}

void bench_client::withdraw(uint32_t route)
{
    static constexpr in6_addr_t every = {};
    if (!ipv6_rib_batch_buffer_route_fits(buffer_, 1))
        flush();
    add_route(route);
    ipv6_rib_batch_buffer_delete_path(buffer_, &every, 0, 0);
}

void bench_client::flush()
{
    if (ipv6_rib_batch_buffer_is_empty(buffer_))
        return;
    if (ipv6_rib_batch_buffer_send(conn, buffer_, reply) <= 0)
        throw std::runtime_error("the server refused a batch");
    if (const size_t refused = bench_refused(reply))
        throw std::runtime_error("the server refused " + std::to_string(refused) + " records of a batch");
}

void bench_client::announce_all(std::span<const uint32_t> routes)
{
    for (const uint32_t route : routes)
        announce(route);
    flush();
}

void bench_client::withdraw_all(std::span<const uint32_t> routes)
{
    for (const uint32_t route : routes)
        withdraw(route);
    flush();
}

uint32_t bench_client::prefixes() const
{
    uint32_t status[2] = {};
    if (ipv6_rib_get_table_status(conn, IPV6_RIB_TABLE_DEFAULT, status) != 0)
        throw std::runtime_error("no status of the table");
    return status[1];
}

/* Whether a result is neither done nor "it was so". */
static bool refusal(int32_t result)
{
    return result < 0 || result > RIB_RESULT_EXISTS;
}

/* A withdrawal's result is laid out differently. */
static int32_t path_result(void *path)
{
    return *static_cast<uint8_t *>(path) == 1 ? static_cast<rib_batch_path_out *>(path)->po_result
                                              : static_cast<rib_batch_path_del_out *>(path)->pd_result;
}

size_t bench_refused(void *reply)
{
    size_t count = 0;
    for (void *at = ipv6_rib_batch_args_out_first_route(reply); at; at = ipv6_rib_batch_args_out_next_route(reply, at)) {
        count += refusal(static_cast<rib_batch_route_out *>(at)->ro_result);
        for (void *path = ipv6_rib_batch_route_out_first_path(at); path; path = ipv6_rib_batch_route_out_next_path(at, path))
            count += refusal(path_result(path));
    }
    return count;
}
