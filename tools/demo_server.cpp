#include "demo_server.h"

#include "failure.h"

#include "server/embed.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

demo_server::demo_server()
{
    const char *above = std::getenv("TMPDIR");
    dir_ = fmt::format("{}/ribctl-demo-XXXXXX", above && *above ? above : "/tmp");
    if (!mkdtemp(dir_.data()))
        fail("cannot make a run directory {}: {}", dir_, std::strerror(errno));
    setenv("MSG_CHAN_DIR", dir_.c_str(), 1);
    try {
        start();
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
        throw;
    }
}

void demo_server::start()
{
    try {
        server_ = std::make_unique<rib_embedded_server>(rib_server_options{.dir = dir_});
    } catch (const std::system_error &error) {
        fail("cannot start a server in {}: {}", dir_, error.what());
    }
}

demo_server::~demo_server()
{
    server_.reset();
    std::error_code ignored; // what is left of an empty directory harms nobody
    std::filesystem::remove_all(dir_, ignored);
}
