/*
 * ribd: the RIB server as a process.
 */
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <system_error>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "server/service.h"

static rib_service *running;

static void on_signal(int signal)
{
    if (signal == SIGHUP)
        running->reload();
    else
        running->stop();
}

static void follow_signals(rib_service *service)
{
    running = service;
    struct sigaction action = {};
    action.sa_handler = on_signal;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

static void ignore_signals()
{
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
}

/* Each client takes a descriptor; the usual limit is too low for as many as are allowed by default. */
static void raise_descriptor_limit()
{
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

static std::string octal_fault(const std::string &mode)
{
    const bool octal = mode.size() <= 4 && !mode.empty() && mode.find_first_not_of("01234567") == std::string::npos;
    return octal && std::stoul(mode, nullptr, 8) <= 0777 ? "" : mode + " is no mode such as 660";
}

static void add_options(CLI::App &app, rib_server_options &options)
{
    app.set_version_flag("--version", IPV6_RIB_VERSION);
    app.add_option("--dir", options.dir, "run directory of the message channel");
    const auto set_role = [&options](const std::string &role) {
        options.role = role == "active" ? rib_server_role::active : rib_server_role::standby;
    };
    app.add_option_function<std::string>("--role", set_role, "serve as one of a redundant pair; alone without it")
        ->check(CLI::IsMember({"active", "standby"}));
    app.add_option("--hold-time", options.hold_seconds, "seconds that the routes of a dead client stay")->capture_default_str();
    app.add_option("--policy", options.policy, "file that says who may do what; read again on SIGHUP");
    const auto set_mode = [&options](const std::string &mode) {
        options.socket_mode = static_cast<unsigned>(std::stoul(mode, nullptr, 8));
    };
    app.add_option_function<std::string>("--socket-mode", set_mode, "permissions of the socket files, octal [660]")
        ->check(CLI::Validator(octal_fault, "MODE"));
    app.add_option("--max-clients", options.max_clients, "clients at a time")
        ->check(CLI::Range(size_t{1}, SIZE_MAX))
        ->capture_default_str();
    app.add_option("--max-tables", options.max_tables, "tables")->check(CLI::Range(size_t{1}, SIZE_MAX))->capture_default_str();
    app.add_option("--max-routes", options.max_routes, "routes in a table")
        ->check(CLI::Range(size_t{1}, SIZE_MAX))
        ->capture_default_str();
    app.add_option("--msg-version", options.msg_version, "format of update messages")
        ->check(CLI::Range(0, 1))
        ->capture_default_str();
}

static void serve(const rib_server_options &options)
{
    raise_descriptor_limit();
    rib_service service(options);
    follow_signals(&service);
    const auto [begin, end] = rib_names_of(options.role);
    fmt::print("ribd: ready, serving {} in {}\n", fmt::join(begin, end, " "),
               options.dir.empty() ? "the default directory" : options.dir);
    std::fflush(stdout);
    service.run();
    ignore_signals();
}

int main(int argc, char **argv)
try {
    CLI::App app("IPv6 RIB server", "ribd");
    rib_server_options options;
    add_options(app, options);
    CLI11_PARSE(app, argc, argv);
    serve(options);
    return EXIT_SUCCESS;
} catch (const std::exception &error) {
    std::fprintf(stderr, "ribd: cannot serve: %s\n", error.what());
    return EXIT_FAILURE;
}
