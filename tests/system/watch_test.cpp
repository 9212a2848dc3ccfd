/*
 * ribctl watch as a process of its own beside a server and a producer: through the server's death, and stopped while much
 * changes. And ribctl nexthop --watch, interrupted in the end.
 */
#include "system_test.h"

#include <csignal>
#include <set>

namespace
{
/* A sanitizer keeps freed memory for a while. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool memory_is_told = false;
#else
constexpr bool memory_is_told = true;
#endif

using lines_td = std::vector<std::string>;

/* What a watch told, replayed: the prefixes that are left. */
std::set<std::string> replayed(const lines_td &lines)
{
    static const std::string key = "\"prefix\":\"";
    std::set<std::string> prefixes;
    for (const std::string &line : lines) {
        const size_t at = line.find(key);
        if (at == std::string::npos)
            continue;
        const size_t begin = at + key.size();
        const std::string prefix = line.substr(begin, line.find('"', begin) - begin);
        if (line.find("\"event\":\"withdraw\"") != std::string::npos)
            prefixes.erase(prefix);
        else
            prefixes.insert(prefix);
    }
    return prefixes;
}

class watching : public ::testing::Test
{
protected:
    run_dir dir;

    child_process start_watch() const { return child_process({ribctl_program(), "--dir", dir.path(), "watch", "--json"}); }

    /* Sends routes or withdrawals for the prefixes from first up to last, in as many messages as it takes. */
    static void send(const test_client &producer, uint32_t first, uint32_t last, bool withdraw, const char *nexthop = "fe80::1")
    {
        for (uint32_t i = first; i < last; i++) {
            if (!ipv6_rib_batch_buffer_route_fits(producer.buffer, 1)) {
                EXPECT_EQ(producer.send(), 1);
            }
            if (withdraw)
                producer.withdraw(numbered_prefix(i), 48);
            else
                producer.add(numbered_prefix(i), 48, addr(nexthop));
        }
        EXPECT_EQ(producer.send(), 1);
    }
    /* A route that is sent last and awaited. */
    static constexpr uint32_t LAST = 1'000'000;
    static void await_last(const test_client &producer, child_process *watch, lines_td *lines)
    {
        send(producer, LAST, LAST + 1, false);
        const in6_addr_t prefix = numbered_prefix(LAST);
        EXPECT_TRUE(watch->await_line(text_of(&prefix), lines));
    }
};

TEST_F(watching, goes_on_when_the_server_returns)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    test_client producer;
    send(producer, 0, 2000, false);
    child_process watch = start_watch();
    lines_td lines;
    ASSERT_TRUE(watch.await_line("\"complete\"", &lines));
    EXPECT_EQ(replayed(lines).size(), 2000u);
    producer.add(numbered_prefix(0), 48, addr("fe80::1"));
    ribd.signal(SIGKILL);
    ribd.wait();
    EXPECT_EQ(producer.send(), RIB_RESULT_RPC_ERROR);
    ASSERT_TRUE(watch.await_line("\"lost\""));

    child_process next = start_ribd(dir);
    ASSERT_TRUE(next.await_line("ready"));
    ASSERT_GT(ipv6_rib_rebind(producer.conn), 0);
    errcode err = 1;
    producer.protoid = ipv6_rib_register_protocol(producer.conn, "static", "test", 0, 0, 0, 0, &err);
    ASSERT_EQ(err, 0u);
    ipv6_rib_batch_buffer_init(producer.buffer, IPV6_RIB_TABLE_DEFAULT, producer.protoid);
    send(producer, 1000, 2500, false);
    ASSERT_TRUE(watch.await_line("\"established\""));
    lines.clear();
    await_last(producer, &watch, &lines);
    EXPECT_EQ(replayed(lines).size(), 1501u);
    EXPECT_EQ(producer.prefixes(), 1501u);
}

TEST_F(watching, catches_up_after_it_was_stopped_and_costs_the_server_little)
{
    constexpr uint32_t prefixes = 4000;
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    test_client producer, other("other");
    send(producer, 0, prefixes, false);
    child_process watch = start_watch();
    lines_td lines;
    ASSERT_TRUE(watch.await_line("\"complete\"", &lines));
    send(producer, 0, prefixes, false, "fe80::2"); // memory for messages is there from now on
    const size_t before = ribd.resident();
    watch.signal(SIGSTOP);
    for (unsigned round = 0; round < 50; round++) {
        send(producer, 0, prefixes, round % 2 == 0, round % 4 ? "fe80::1" : "fe80::3");
        EXPECT_EQ(other.lookup("2001::1") == "none", round % 2 == 0); // nobody else is held up
    }
    if (memory_is_told) {
        EXPECT_LT(ribd.resident(), before + 4096); // 200,000 changes; an entry of the queue for each prefix
    }
    watch.signal(SIGCONT);
    await_last(producer, &watch, &lines);
    EXPECT_EQ(replayed(lines).size(), prefixes + 1);
    EXPECT_LT(lines.size(), 4 * size_t{prefixes});
}

TEST_F(watching, tells_how_a_next_hop_is_reached_while_routes_come_change_and_go)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    child_process watch({ribctl_program(), "--dir", dir.path(), "nexthop", "--watch", "2001:db8::1"});
    lines_td lines;
    ASSERT_TRUE(watch.await_line("next hops told", &lines));
    EXPECT_EQ(lines[1], "- 2001:db8::1 not reached");
    const std::vector<std::string> command = {ribctl_program(), "--dir", dir.path()};
    const auto change = [&](std::vector<std::string> words) {
        words.insert(words.begin(), command.begin(), command.end());
        EXPECT_EQ(run(words).status, 0);
    };
    change({"add", "2001:db8::/32", "fe80::1", "--interface", "3"});
    EXPECT_TRUE(watch.await_line("+ 2001:db8::1 via fe80::1 interface 3 from static/ribctl, length 32, distance 1, metric 0"));
    change({"add", "2001:db8::/48", "fe80::2", "--interface", "4", "--metric", "5"});
    EXPECT_TRUE(watch.await_line("+ 2001:db8::1 via fe80::2 interface 4 from static/ribctl, length 48, distance 1, metric 5"));
    change({"del", "2001:db8::/48"});
    EXPECT_TRUE(watch.await_line("via fe80::1 interface 3"));
    change({"del", "2001:db8::/32"});
    EXPECT_TRUE(watch.await_line("- 2001:db8::1 not reached"));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.rest(), "");
    EXPECT_EQ(watch.wait(), 0);
}
} // namespace
