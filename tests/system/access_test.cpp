/*
 * ribd and clients of other users: who is let in, what they may do, and how that changes while they are there. Takes root.
 */
#include "system_test.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr uid_t STRANGER = 65534;
constexpr gid_t FURTHER_GROUP = 4321;

struct access_of_users : ::testing::Test {
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "takes root";
        chmod(dir.path().c_str(), 0755);
    }
    child_process start(const std::string &rules)
    {
        write_policy(rules);
        return start_ribd(dir, {"--policy", policy, "--socket-mode", "666"});
    }
    void write_policy(const std::string &rules) const { std::ofstream(policy) << rules; }

    const run_dir dir;
    const std::string policy = dir.path() + "/policy";
};

/* The errno value of a bind as a stranger, or the result of registering a protocol then. */
int as_stranger(const char *protocol)
{
    const pid_t child = fork();
    if (child == 0) {
        ipv6_rib_conn_p conn = nullptr;
        if (setgroups(1, &FURTHER_GROUP) != 0 || setresgid(STRANGER, STRANGER, STRANGER) != 0 ||
            setresuid(STRANGER, STRANGER, STRANGER) != 0)
            _exit(255);
        prctl(PR_SET_DUMPABLE, 1); // who changes its user may not read its own name otherwise
        if (ipv6_rib_bind(&conn) < 0)
            _exit(errno == EPERM ? 100 : errno);
        errcode err = 0;
        ipv6_rib_register_protocol(conn, protocol, "", RIB_PROTO_KIND_ROUTING, 0, 0, 0, &err);
        _exit(static_cast<int>(err));
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
constexpr int NOT_LET_IN = 100;

TEST_F(access_of_users, follows_the_policy_as_it_changes)
{
    child_process ribd = start("");
    ASSERT_TRUE(ribd.await_line("ready"));
    EXPECT_EQ(as_stranger("bgp"), NOT_LET_IN);
    EXPECT_TRUE(ribd.await_line("refused: uid 65534"));
    const test_client root("static");
    EXPECT_EQ(root.prefixes(), 0u);

    const auto reload = [&](const char *rules, const char *told) {
        write_policy(rules);
        ribd.signal(SIGHUP);
        std::vector<std::string> lines;
        EXPECT_TRUE(ribd.await_line(told, &lines));
        return lines;
    };
    reload("allow user 65534 bind\nallow group 4321 register bgp*\n", "policy read again");
    EXPECT_EQ(as_stranger("bgp-1"), 0);
    EXPECT_EQ(as_stranger("static"), EPERM);
    EXPECT_TRUE(ribd.await_line("may not register static"));
    const std::vector<std::string> lines = reload("\nallow nobody bind\n", "the policy stays as it was");
    EXPECT_NE(lines.front().find(policy + ":2: "), std::string::npos) << lines.front();
    EXPECT_EQ(as_stranger("bgp-2"), 0);
}

TEST_F(access_of_users, a_faulty_policy_keeps_the_server_from_starting)
{
    child_process ribd = start("allow everything\n");
    EXPECT_NE(ribd.rest().find(policy + ":1: "), std::string::npos);
    EXPECT_EQ(ribd.wait(), 1);
}

TEST_F(access_of_users, ribctl_says_what_is_wrong)
{
    child_process ribd = start("deny user root bind\n");
    ASSERT_TRUE(ribd.await_line("ready"));
    const auto told = [&](const char *words) {
        const finished done = run({ribctl_program(), "--dir", dir.path(), "status"});
        EXPECT_EQ(done.status, 1);
        EXPECT_NE(done.output.find(words), std::string::npos) << done.output;
    };
    told("policy");
    chmod(dir.path().c_str(), 0777);
    told("not trusted");
    const finished second = run({ribd_program(), "--dir", dir.path()});
    EXPECT_NE(second.output.find("Permission denied"), std::string::npos) << second.output;
}

} // namespace
