/*
 * Threads that run every operation at once, on connections of their own and on shared ones which other threads rebind, while
 * the server stops and starts: each result is one that is documented, and in the end everything works.
 *
 * RIB_RACE_SECONDS says how long.
 */
#include "system_test.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <thread>

#include "server/embed.h"
#include "tests/faults/operations.h"

namespace
{
using namespace std::chrono_literals;
using clock_type = std::chrono::steady_clock;

constexpr unsigned THREADS = 8, SHARED = 2;

std::chrono::seconds duration()
{
    const char *set = std::getenv("RIB_RACE_SECONDS");
    return std::chrono::seconds(set ? std::stoul(set) : 4);
}

/* The connection that the platform keeps has no lock, so one thread has it; introducing again is for one's own connection. */
enum class place { anywhere, own_connection, one_thread };

place where(const fault_operation &operation)
{
    const std::string name = operation.name;
    if (name == "connect client")
        return place::one_thread;
    return name == "bind data" ? place::own_connection : place::anywhere;
}

/* What other threads and a server that is not there make of an operation. */
bool is_documented(const fault_operation &operation, errcode code)
{
    /* The last two: another thread ended the batch of a shared connection, or unregistered its protocol. */
    static const std::vector<errcode> always = {0,
                                                RIB_SRV_ERR_NOT_FOUND,
                                                RIB_LIB_ERR_SIGEVENT_TABLE,
                                                RIB_LIB_ERR_BAD_ARG,
                                                RIB_LIB_ERR_BATCH_FULL,
                                                static_cast<errcode>(RIB_RESULT_INVALID_PARAMETER)};
    return is_told(always, code) || is_told(operation.without_channel, code);
}

/* Routes to ask for, and their clients. */
class background
{
public:
    background()
    {
        give(connected_, "2001:db8:1::", 64, "::", 7);
        give(local_, "2001:db8:1::1", 128, "::", 7);
        give(keeper_, "::", 0, "2001:db8:1::2", 0);
        give(keeper_, "2001:0:5::", 48, "2001:db8:1::3", 0);
    }

private:
    static void give(const test_client &client, const char *prefix, uint8_t len, const char *nexthop, uint32_t interface)
    {
        const in6_addr_t at = addr(prefix), hop = addr(nexthop);
        ipv6_rib_batch_buffer_add_route(client.buffer, &at, len, 0, 1);
        ipv6_rib_batch_buffer_add_path(client.buffer, interface, 0, &hop, &hop, 0, 0, 0);
        EXPECT_GT(client.send(), 0);
    }

    test_client connected_{"connected", ipv6_rib_bind, RIB_PROTO_KIND_CONNECTED};
    test_client local_{"local", ipv6_rib_bind, RIB_PROTO_KIND_LOCAL};
    test_client keeper_{"keeper"};
};

class race : public ::testing::Test
{
protected:
    run_dir dir;
    std::optional<rib_embedded_server> server;
    std::optional<background> routes;
    fault_client shared[SHARED];
    std::atomic<bool> over = false;
    std::vector<std::atomic<size_t>> answers = std::vector<std::atomic<size_t>>(fault_operations().size());

    race() { start(); }
    ~race() override
    {
        for (fault_client &client : shared)
            ipv6_rib_unbind(&client.conn);
    }

    void start()
    {
        server.emplace(rib_server_options{.dir = dir.path()});
        routes.emplace();
    }
    static std::string shared_name(size_t number) { return "shared" + std::to_string(number); }
    static bool join(fault_client *client, const std::string &protocol)
    {
        errcode code = 1;
        client->protoid =
            ipv6_rib_register_protocol(client->conn, protocol.c_str(), "test", RIB_PROTO_KIND_ROUTING, 0, 0, 0, &code);
        return code == 0;
    }
    static bool begin(fault_client *client, const std::string &protocol)
    {
        return ipv6_rib_bind(&client->conn) > 0 && join(client, protocol);
    }
    void work(unsigned number);
};

void race::work(unsigned number)
{
    const std::string name = "own" + std::to_string(number);
    std::mt19937 engine(number);
    fault_client own;
    while (!over) {
        const size_t index = engine() % fault_operations().size();
        const fault_operation &operation = fault_operations()[index];
        const place allowed = where(operation);
        if (allowed == place::one_thread && number != 0)
            continue;
        const bool on_own = allowed == place::own_connection || engine() % 2 == 0;
        if (on_own && !own.conn && !begin(&own, name))
            continue;
        const size_t which = engine() % SHARED;
        fault_client client = on_own ? own : shared[which];
        const fault_outcome outcome = operation.run(client);
        EXPECT_TRUE(is_documented(operation, outcome.code)) << operation.name << ": " << outcome;
        answers[index] += outcome.code == 0 || outcome.code == RIB_SRV_ERR_NOT_FOUND;
        if (outcome.code == 0 || engine() % 8 != 0)
            continue;
        if (on_own)
            ipv6_rib_unbind(&own.conn);
        else if (ipv6_rib_rebind(client.conn) > 0)
            join(&client, shared_name(which));
    }
    ipv6_rib_unbind(&own.conn);
}

TEST_F(race, of_all_operations)
{
    for (size_t i = 0; i != SHARED; i++)
        ASSERT_TRUE(begin(&shared[i], shared_name(i)));
    std::vector<std::thread> threads;
    for (unsigned i = 0; i != THREADS; i++)
        threads.emplace_back([this, i] { work(i); });
    for (const auto end = clock_type::now() + duration(); clock_type::now() < end;) {
        std::this_thread::sleep_for(300ms);
        routes.reset();
        server.reset();
        std::this_thread::sleep_for(20ms);
        start();
    }
    over = true;
    for (std::thread &thread : threads)
        thread.join();
    for (size_t i = 0; i != answers.size(); i++)
        EXPECT_GT(answers[i], 0u) << fault_operations()[i].name << " was never answered";
    for (size_t i = 0; i != SHARED; i++) {
        EXPECT_GT(ipv6_rib_rebind(shared[i].conn), 0) << std::strerror(errno);
        EXPECT_TRUE(join(&shared[i], shared_name(i)));
        uint32_t status[2];
        EXPECT_EQ(ipv6_rib_get_table_status(shared[i].conn, IPV6_RIB_TABLE_DEFAULT, status), 0u);
    }
}
} // namespace
