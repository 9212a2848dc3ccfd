/*
 * Taking a service name, and what is found under it.
 */
#include "tests/platform/channel_support.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

class msg_chan_attach : public testing::Test
{
protected:
    ~msg_chan_attach() override { msg_server_destroy(server); }
    int attach(const char *service = test_service) { return error_of(msg_server_attach(server, service)); }
    void create(const msg_server_options_t &options)
    {
        static const msg_server_ops_t ops = {[](void *, msg_peer_t *, unsigned) { return 0; },
                                             [](void *, msg_peer_t *, uint8_t *, size_t) {}, [](void *, msg_peer_t *) {}};
        msg_server_destroy(server);
        server = msg_server_create(&options, &ops, nullptr);
    }
    void SetUp() override { create({}); }

    const run_dir dir;
    const std::string socket_file = dir.file("dev_test_service");
    msg_server_t *server = nullptr;
};

TEST_F(msg_chan_attach, replaces_what_is_dead_and_removes_its_own_file_only)
{
    delete new raw_server(dir, [](int) {});
    ASSERT_TRUE(fs::is_socket(socket_file));
    EXPECT_EQ(attach(), 0);
    EXPECT_EQ(attach(), EADDRINUSE);
    EXPECT_EQ(attach("/second"), 0);
    fs::remove(socket_file);
    const raw_server successor(dir, [](int) {});
    create({});
    EXPECT_TRUE(fs::exists(socket_file));
    EXPECT_FALSE(fs::exists(dir.file("second")));
}

TEST_F(msg_chan_attach, leaves_files_and_links_alone)
{
    std::ofstream(dir.file("precious")) << "data";
    fs::create_symlink("precious", socket_file);
    EXPECT_EQ(attach(), EEXIST);
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(socket_file)));
    fs::rename(dir.file("precious"), socket_file);
    EXPECT_EQ(attach(), EEXIST);
    EXPECT_EQ(fs::file_size(socket_file), 4u);
}

TEST_F(msg_chan_attach, makes_directory_and_file_with_their_modes_whatever_the_umask_is)
{
    const std::string deep = dir.file("a/b");
    create({.mso_dir = deep.c_str()});
    const mode_t before = umask(0077);
    EXPECT_EQ(attach(), 0);
    umask(before);
    for (const auto &[made, mode] : {std::pair{dir.file("a"), 0755u}, {deep, 0755u}, {deep + "/dev_test_service", 0660u}}) {
        struct stat file = {};
        EXPECT_EQ(stat(made.c_str(), &file), 0);
        EXPECT_EQ(file.st_mode & 07777u, mode) << made;
    }
}

TEST_F(msg_chan_attach, refuses_what_cannot_be)
{
    for (const char *service : {"", "/", ".", "/.lock", static_cast<const char *>(nullptr)})
        EXPECT_EQ(attach(service), EINVAL) << (service ? service : "NULL");
    const std::string far = dir.path + std::string(80, 'd');
    create({.mso_dir = far.c_str()});
    EXPECT_EQ(attach(), ENAMETOOLONG);
    create({.mso_max_reply = chan_message_max + 1});
    EXPECT_EQ(server, nullptr);
    create({.mso_max_reply = chan_message_max});
    EXPECT_NE(server, nullptr);
}
