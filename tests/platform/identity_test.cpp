#include <platform/identity.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

TEST(identity, node_name_is_cut_and_terminated)
{
    char name[32];
    setenv("PLATFORM_NODE_NAME", "router-7", 1);
    EXPECT_EQ(platform_get_node_name(name, sizeof name), 0);
    EXPECT_STREQ(name, "router-7");
    EXPECT_EQ(platform_get_node_name(name, 4), 0);
    EXPECT_STREQ(name, "rou");
    EXPECT_EQ(platform_get_node_name(name, 0), -1);
    setenv("PLATFORM_NODE_NAME", "", 1);
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    char full[256];
    EXPECT_EQ(platform_get_node_name(full, sizeof full), 0);
    EXPECT_STREQ(full, host);
    unsetenv("PLATFORM_NODE_NAME");
}

TEST(identity, node_id_is_set_or_made_of_the_machine)
{
    struct {
        const char *text;
        int result;
        uint32_t id;
    } const cases[] = {{"7", 0, 7},   {"0xFFFFFFFE", 0, 0xFFFFFFFE},  {"0xFFFFFFFF", -1, 0}, {"-1", -1, 0}, {"seven", -1, 0},
                       {"7x", -1, 0}, {"99999999999999999999", -1, 0}};
    for (const auto &c : cases) {
        uint32_t id = 0;
        setenv("PLATFORM_NODE_ID", c.text, 1);
        EXPECT_EQ(platform_get_my_nodeid(&id), c.result) << c.text;
        EXPECT_EQ(id, c.id) << c.text;
    }
    unsetenv("PLATFORM_NODE_ID");
    uint32_t first = ~0u, second = ~0u;
    EXPECT_EQ(platform_get_my_nodeid(&first), 0);
    EXPECT_EQ(platform_get_my_nodeid(&second), 0);
    EXPECT_EQ(first, second);
    EXPECT_LT(first, 0x80000000u);
}

TEST(identity, process_name_is_the_path_of_the_executable)
{
    char own[257], cut[6];
    EXPECT_EQ(procfs_get_name(getpid(), own, sizeof own), 0);
    EXPECT_STREQ(basename(own), "platform_identity_test");
    EXPECT_EQ(procfs_get_name(getpid(), cut, sizeof cut), 0);
    EXPECT_EQ(std::string(cut), std::string(own, 5));
    EXPECT_EQ(procfs_get_name(-5, own, sizeof own), -1);
    EXPECT_EQ(errno, ENOENT);
}
