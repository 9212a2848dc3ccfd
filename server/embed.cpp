/*
 * The service in a thread of its own.
 */
#include "server/embed.h"

#include <system_error>
#include <thread>

#include <fmt/format.h>

#include "server/service.h"

struct rib_embedded_server::inside {
    explicit inside(const rib_server_options &options) : service(options), thread([this] { serve(); }) {}
    ~inside()
    {
        service.stop();
        thread.join();
    }
    void serve()
    try {
        service.run();
    } catch (const std::system_error &error) {
        fmt::print(stderr, "RIB server: {}\n", error.what());
    }

    rib_service service;
    std::thread thread;
};

rib_embedded_server::rib_embedded_server(const rib_server_options &options) : inside_(std::make_unique<inside>(options)) {}
rib_embedded_server::~rib_embedded_server() = default;
