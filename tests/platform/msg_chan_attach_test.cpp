/*
 * Taking a service name, and what is found under it.
 */
#include "tests/platform/channel_support.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

static const msg_server_ops_t no_ops = {[](void *, msg_peer_t *, unsigned) { return 0; },
                                        [](void *, msg_peer_t *peer, uint8_t *, size_t) { msg_peer_close(peer); },
                                        [](void *, msg_peer_t *) {}};

class msg_chan_attach : public testing::Test
{
protected:
    ~msg_chan_attach() override { msg_server_destroy(server); }
    int attach(const char *service = test_service) { return error_of(msg_server_attach(server, service)); }

    const run_dir dir;
    const std::string socket_file = dir.file("dev_test_service");
    msg_server_t *server = msg_server_create(nullptr, &no_ops, nullptr);
};

TEST_F(msg_chan_attach, replaces_what_a_dead_server_left)
{
    delete new raw_server(dir, [](int) {});
    ASSERT_TRUE(fs::is_socket(socket_file));
    EXPECT_EQ(attach(), 0);
}

TEST_F(msg_chan_attach, leaves_a_live_server_alone)
{
    threaded_server live;
    live.start();
    EXPECT_EQ(attach(), EADDRINUSE);
    uint32_t chan = open_channel();
    EXPECT_NE(chan, 0u);
    EXPECT_EQ(msg_chan_disconnect(&chan), 0);
}

TEST_F(msg_chan_attach, leaves_files_and_links_alone)
{
    std::ofstream(dir.file("precious")) << "data";
    fs::create_symlink("precious", socket_file);
    EXPECT_EQ(attach(), EEXIST);
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(socket_file)));
    EXPECT_EQ(fs::file_size(dir.file("precious")), 4u);
    fs::remove(socket_file);
    fs::rename(dir.file("precious"), socket_file);
    EXPECT_EQ(attach(), EEXIST);
    EXPECT_EQ(fs::file_size(socket_file), 4u);
}

TEST_F(msg_chan_attach, makes_directory_and_file_with_their_modes_whatever_the_umask_is)
{
    const std::string deep = dir.file("a/b");
    const msg_server_options_t options = {.mso_dir = deep.c_str()};
    msg_server_destroy(server);
    server = msg_server_create(&options, &no_ops, nullptr);
    const mode_t before = umask(0077);
    EXPECT_EQ(attach(), 0);
    umask(before);
    struct stat file;
    for (const std::string &made : {dir.file("a"), deep}) {
        ASSERT_EQ(stat(made.c_str(), &file), 0);
        EXPECT_EQ(file.st_mode & 07777u, 0755u);
    }
    ASSERT_EQ(stat((deep + "/dev_test_service").c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 07777u, 0660u);
}

TEST_F(msg_chan_attach, removes_its_own_file_only)
{
    EXPECT_EQ(attach(), 0);
    EXPECT_EQ(attach("/second"), 0);
    fs::remove(socket_file);
    const raw_server successor(dir, [](int) {});
    msg_server_destroy(server);
    server = nullptr;
    EXPECT_TRUE(fs::exists(socket_file));
    EXPECT_FALSE(fs::exists(dir.file("second")));
}

TEST_F(msg_chan_attach, refuses_names_without_a_file)
{
    const std::string long_dir = "/tmp/" + std::string(90, 'd');
    for (const char *service : {"", "/", ".", "/.lock", static_cast<const char *>(nullptr)})
        EXPECT_EQ(attach(service), EINVAL) << (service ? service : "NULL");
    const msg_server_options_t options = {.mso_dir = long_dir.c_str()};
    msg_server_t *far = msg_server_create(&options, &no_ops, nullptr);
    EXPECT_EQ(error_of(msg_server_attach(far, test_service)), ENAMETOOLONG);
    msg_server_destroy(far);
}

TEST(msg_server_create, refuses_what_the_channel_cannot_carry)
{
    const run_dir dir;
    const msg_server_options_t large = {.mso_max_reply = chan_message_max + 1};
    EXPECT_EQ(msg_server_create(&large, &no_ops, nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}
