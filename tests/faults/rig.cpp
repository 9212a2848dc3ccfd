/*
 * The server and the clients around an injected fault.
 */
#include "tests/faults/operations.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <thread>
#include <unistd.h>

constexpr unsigned routes = 1800; // a listing of them is more than a socket takes at once
constexpr unsigned routes_at_once = 600;
constexpr unsigned case_seconds = 30;

static void give(const test_client &client, const char *prefix, uint8_t len, const char *nexthop, uint32_t interface)
{
    const in6_addr_t at = addr(prefix), hop = addr(nexthop);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_route(client.buffer, &at, len, 0, 1), RIB_BATCH_BUFFER_OK);
    EXPECT_EQ(ipv6_rib_batch_buffer_add_path(client.buffer, interface, 0, &hop, &hop, 0, 0, 0), RIB_BATCH_BUFFER_OK);
    EXPECT_GT(client.send(), 0);
}

static size_t open_descriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

fault_rig::fault_rig(const run_dir &dir) : server_({.dir = dir.path()})
{
    give(connected_, "2001:db8:1::", 64, "::", 7);
    give(local_, "2001:db8:1::1", 128, "::", 7);
    give(keeper_, "::", 0, "2001:db8:1::2", 0);
    for (unsigned i = 0; i != routes; i++) {
        keeper_.add(numbered_prefix(i), 48, addr("2001:db8:1::3"));
        if ((i + 1) % routes_at_once == 0) {
            EXPECT_GT(keeper_.send(), 0);
        }
    }
    idle_descriptors_ = open_descriptors();
}

fault_rig::~fault_rig()
{
    alarm(0);
}

void fault_rig::begin()
{
    ASSERT_GT(ipv6_rib_bind(&conn), 0) << std::strerror(errno);
    errcode err = FAILED;
    protoid = ipv6_rib_register_protocol(conn, "subject", "test", RIB_PROTO_KIND_ROUTING, 0, 0, 0, &err);
    ASSERT_EQ(err, 0u);
}

void fault_rig::end()
{
    ipv6_rib_unbind(&conn);
}

void fault_rig::expect_usable(bool may_rebind)
{
    uint32_t status[2] = {};
    errcode code = ipv6_rib_get_table_status(conn, IPV6_RIB_TABLE_DEFAULT, status);
    if (code != 0 && may_rebind) {
        EXPECT_LT(code, 4096u) << "a channel that ended keeps saying why";
        EXPECT_EQ(ipv6_rib_get_table_status(conn, IPV6_RIB_TABLE_DEFAULT, status), code);
        EXPECT_GT(ipv6_rib_rebind(conn), 0) << std::strerror(errno);
        code = ipv6_rib_get_table_status(conn, IPV6_RIB_TABLE_DEFAULT, status);
    }
    EXPECT_EQ(code, 0u);
    EXPECT_GE(status[1], routes);
}

/* The server hears of the end of a client a little later. */
void fault_rig::expect_all_closed() const
{
    for (int tries = 0; tries != 2000 && open_descriptors() > idle_descriptors_; tries++)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(open_descriptors(), idle_descriptors_);
}

static char watched[200];

static void too_late(int)
{
    (void)!write(STDERR_FILENO, watched, strlen(watched));
    _exit(1);
}

void watch_over(const std::string &what)
{
    snprintf(watched, sizeof watched, "hangs: %s\n", what.c_str());
    signal(SIGALRM, too_late);
    alarm(case_seconds);
}
