/*
 * Library, ribd and ribctl as processes of their own: loading over two processes, and what breaks on the way.
 */
#include "system_test.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace
{
std::string contents(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> sorted_lines(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
}

class processes : public ::testing::Test
{
protected:
    run_dir dir;

    finished ribctl(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {ribctl_program(), "--dir", dir.path()});
        return run(words);
    }
};

TEST_F(processes, a_generated_table_is_loaded_verified_and_kept)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    const std::string table = dir.path() + "/table.txt";
    ASSERT_EQ(ribctl({"generate", "20000", "-o", table}).status, 0);
    const finished load = ribctl({"load", table, "--verify"});
    EXPECT_EQ(load.status, 0) << load.output;
    std::ifstream lines(table);
    std::string prefix, nexthop;
    lines >> prefix >> nexthop;
    const finished lookup = ribctl({"lookup", prefix, "--exact"});
    EXPECT_EQ(lookup.status, 0);
    EXPECT_NE(lookup.output.find(nexthop), std::string::npos) << lookup.output;
    EXPECT_NE(ribctl({"status"}).output.find("20000"), std::string::npos);
    EXPECT_TRUE(sorted_lines(ribctl({"routes", "--text"}).output) == sorted_lines(contents(table)));
    EXPECT_NE(ribctl({"protocols"}).output.find("static"), std::string::npos);
    ribd.signal(SIGTERM);
    EXPECT_EQ(ribd.wait(), 0);
}

/* What a command prints, and how it ends. */
TEST_F(processes, single_routes_are_changed_and_explained)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    struct {
        std::vector<std::string> words;
        int status;
        const char *told;
    } const steps[] = {
        {{"del", "2001:db8::/32"}, 1, "static/ribctl"},
        {{"add", "2001:db8:1::/64", "::", "--interface", "7", "--kind", "connected", "--proto", "connected"}, 0, "best"},
        {{"add", "2001:db8:1::1/128", "::", "--interface", "7", "--kind", "local", "--proto", "local"}, 0, "best"},
        {{"add", "2001:db8:2::/48", "2001:db8:1::9", "--metric", "20"}, 0, "best"},
        {{"add", "2001:db8:2::/48", "2001:db8:1::8", "--proto", "other", "--distance", "150"}, 0, "best"},
        {{"add", "2001:db8:2::1/48", "2001:db8:1::9"}, 1, ""},
        {{"explain", "2001:db8:2::/48"}, 0, "other/ribctl"},
        {{"routes", "--protocol", "other/ribctl"}, 0, "2001:db8:2::/48"},
        {{"routes", "--protocol", "nobody"}, 1, "nobody"},
        {{"routes", "--range", "2001:db8:1::/64", "--json"}, 0, "2001:db8:1::1/128"},
        {{"lookup", "2001:db8:1::/64", "--longer"}, 0, "2001:db8:1::1/128"},
        {{"nexthop", "2001:db8:2::5"}, 0, "2001:db8:1::9"},
        {{"local", "2001:db8:1::5"}, 0, "2001:db8:1::/64"},
        {{"del", "2001:db8:2::/48", "2001:db8:1::9"}, 0, ""},
        {{"lookup", "2001:db8:2::5"}, 0, "2001:db8:1::8"},
    };
    for (const auto &step : steps) {
        const finished done = ribctl(step.words);
        EXPECT_EQ(done.status, step.status) << step.words[0] << " " << step.words[1] << ": " << done.output;
        EXPECT_NE(done.output.find(step.told), std::string::npos) << step.words[0] << " " << step.words[1] << ": " << done.output;
    }
}

/* Attributes, SIDs and IIDs: each command is a client of its own, so what one did stands for the next. */
TEST_F(processes, attributes_sids_and_iids_outlive_the_command)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    const std::string listed = dir.path() + "/listed.json";
    const std::vector<std::string> sid = {"--format", "csid-32-16", "--locator", "2001:db8:1::/48", "--function", "end.x"};
    const auto with = [](std::vector<std::string> words, const std::vector<std::string> &more) {
        words.insert(words.end(), more.begin(), more.end());
        return words;
    };
    struct {
        std::vector<std::string> words;
        int status;
        const char *told;
    } const steps[] = {
        {{"add", "2001:db8::/32", "fe80::1", "--labels", "16,17", "--ecomms", "rt:65000:1", "--ecomms", "soo:1:2"}, 0, "best"},
        {{"add", "2001:db8::/32", "fe80::2", "--tunnel", "1:2:3"}, 1, "2001:db8::/32 was refused: tunnel: its two"},
        {{"lookup", "2001:db8::1"}, 0, "labels 16,17, ecomms rt:65000:1,soo:1:2"},
        {{"routes"}, 0, "fe80::1 labels 16,17 ecomms rt:65000:1,soo:1:2 from"},
        {{"sid", "list"}, 0, ""},
        {with({"sid", "add", "--context", "77"}, sid), 0, "2001:db8:1:e000::/64 for end.x"},
        {with({"sid", "add"}, sid), 0, "2001:db8:1:e000::/64 for end.x of static/ribctl, function value 0xe000, which it had"},
        {with({"sid", "add", "--opcode", "0xE000", "--proto", "other"}, sid), 1, "another request has it"},
        {{"sid", "list"}, 0, "2001:db8:1:e000::/64, function end.x, format csid-32-16, opcode 57344"},
        {with({"sid", "free"}, sid), 0, "given back"},
        {with({"sid", "free", "--immediate"}, sid), 1, "it is not held"},
        {{"iid", "add", "--key", "alpha", "--iid", "5"}, 0, "::ffff:0.0.0.5/128"},
        {{"iid", "add", "--key", "beta", "--iid", "5"}, 1, "another request has it"},
        {{"iid", "add", "--form", "sid", "--sid", "2001:db8:1::", "--format", "csid-32-16"}, 0, "2001:db8:fffe:8000::/128"},
        {{"iid", "add", "--form", "explicit", "--value", "00010203040506070809000b"}, 0, "0:2:1:203:405:607:809:b/128"},
        {{"iid", "list", "--json"}, 0, R"("form":"sid","iid":32768,"sid":"2001:db8:1::")"},
        {{"iid", "free", "--key", "alpha", "--proto", "nobody"}, 1, "no protocol nobody/ribctl"},
        {{"iid", "free", "--key", "alpha"}, 0, "given back"},
    };
    for (const auto &step : steps) {
        const finished done = ribctl(step.words);
        EXPECT_EQ(done.status, step.status) << step.words[0] << " " << step.words[1] << ": " << done.output;
        EXPECT_NE(done.output.find(step.told), std::string::npos) << step.words[0] << " " << step.words[1] << ": " << done.output;
    }
    std::ofstream(listed) << ribctl({"routes", "--json"}).output;
    EXPECT_EQ(ribctl({"load", listed, "--proto", "other", "--verify"}).status, 0);
    EXPECT_NE(ribctl({"routes", "--protocol", "other/ribctl"}).output.find("labels 16,17 ecomms rt:65000:1,soo:1:2"),
              std::string::npos);
}

TEST_F(processes, an_active_and_a_standby_server_live_side_by_side)
{
    child_process active = start_ribd(dir, {"--role", "active"});
    child_process standby = start_ribd(dir, {"--role", "standby"});
    ASSERT_TRUE(active.await_line("ready"));
    ASSERT_TRUE(standby.await_line("ready"));
    test_client on_active("static", ipv6_rib_bind_active), on_standby("static", ipv6_rib_bind_standby);
    on_active.add(addr("2001:db8::"), 32, addr("fe80::1"));
    EXPECT_EQ(on_active.send(), 1);
    EXPECT_EQ(on_active.prefixes(), 1u);
    EXPECT_EQ(on_standby.prefixes(), 0u);
}

TEST_F(processes, a_second_server_of_the_same_name_is_refused)
{
    child_process first = start_ribd(dir);
    ASSERT_TRUE(first.await_line("ready"));
    const finished second = run({ribd_program(), "--dir", dir.path()});
    EXPECT_NE(second.status, 0);
    EXPECT_NE(second.output.find("ribd: "), std::string::npos);
}

TEST_F(processes, without_a_server_everything_says_so_at_once)
{
    const auto before = std::chrono::steady_clock::now();
    ipv6_rib_conn_p conn = nullptr;
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(conn, nullptr);
    const finished status = ribctl({"status"});
    EXPECT_EQ(status.status, 1);
    EXPECT_NE(status.output.find("cannot reach the RIB server"), std::string::npos) << status.output;
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
}

TEST_F(processes, a_path_that_is_no_socket_fails_the_bind)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    ribd.signal(SIGKILL);
    ribd.wait();
    ipv6_rib_conn_p conn = nullptr;
    EXPECT_EQ(ipv6_rib_bind(&conn), -1) << "a socket that nobody serves";
    for (const auto &file : std::filesystem::directory_iterator(dir.path())) {
        std::filesystem::remove(file);
        std::ofstream(file.path()) << "no socket";
    }
    EXPECT_EQ(ipv6_rib_bind(&conn), -1);
    EXPECT_EQ(conn, nullptr);
}

TEST_F(processes, a_server_that_dies_fails_the_batch_and_a_rebind_recovers)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    test_client client;
    const auto fill = [&] {
        for (uint32_t i = 0; ipv6_rib_batch_buffer_route_fits(client.buffer, 1); i++)
            client.add(numbered_prefix(i), 48, addr("fe80::1"));
    };
    fill();
    ribd.signal(SIGSTOP); // the message stays unanswered until the server dies
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ribd.signal(SIGKILL);
    });
    EXPECT_EQ(ipv6_rib_batch_buffer_send(client.conn, client.buffer, client.reply), RIB_RESULT_RPC_ERROR);
    killer.join();
    ribd.wait();
    EXPECT_EQ(ipv6_rib_batch_buffer_is_empty(client.buffer), 1);
    EXPECT_EQ(ipv6_rib_batch_args_out_first_route(client.reply), nullptr);
    EXPECT_NE(ipv6_rib_update_complete(client.conn, client.protoid, 0), 0u);
    EXPECT_EQ(ipv6_rib_rebind(client.conn), -1) << "nobody there yet";

    child_process next = start_ribd(dir);
    ASSERT_TRUE(next.await_line("ready"));
    ASSERT_GT(ipv6_rib_rebind(client.conn), 0);
    errcode err;
    client.protoid = ipv6_rib_register_protocol(client.conn, "static", "test", 0, 0, 0, 0, &err);
    ipv6_rib_batch_buffer_init(client.buffer, IPV6_RIB_TABLE_DEFAULT, client.protoid);
    fill();
    EXPECT_EQ(client.send(), 1);
    EXPECT_GT(client.prefixes(), 800u);
}

TEST_F(processes, bad_lines_are_told_and_the_rest_is_loaded)
{
    child_process ribd = start_ribd(dir);
    ASSERT_TRUE(ribd.await_line("ready"));
    const std::string table = dir.path() + "/bad.txt";
    std::ofstream(table) << "2001:db8::/32 fe80::1\nnonsense\n2001:db8::/129 fe80::1\n2001:db8:1::/48 fe80::1\n";
    const finished load = ribctl({"load", table});
    EXPECT_EQ(load.status, 2) << load.output;
    EXPECT_NE(load.output.find("line 2"), std::string::npos) << load.output;
    EXPECT_NE(load.output.find("line 3"), std::string::npos) << load.output;
    test_client client("other");
    EXPECT_EQ(client.prefixes(), 2u);
}

TEST_F(processes, the_demo_succeeds)
{
    const finished demo = run({ribctl_program(), "demo", "--routes", "5000"});
    EXPECT_EQ(demo.status, 0) << demo.output;
}
} // namespace
