#include "cli.h"

#include "commands.h"
#include "failure.h"
#include "generator.h"
#include "interrupt.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdlib>
#include <functional>

namespace
{

/* Everything that can be asked for; what was not asked for keeps its default. */
struct arguments {
    std::string dir, hold = "forever";
    bool as_json = false;
    load_options load;
    generate_options generate;
    lookup_options lookup;
    demo_options demo;
    std::string convert_file;
    rib_tableid_td status_table = IPV6_RIB_TABLE_DEFAULT;
    std::function<int(output &)> command;
};

CLI::App *add_command(CLI::App &app, arguments &args, const char *name, const char *help, std::function<int(output &)> run)
{
    CLI::App *command = app.add_subcommand(name, help);
    command->callback([&args, run = std::move(run)] { args.command = run; });
    return command;
}

std::string check_hold(const std::string &text)
{
    return text == "forever" ? std::string() : CLI::Range(uint32_t{1}, RIB_PROTO_HOLD_FOREVER - 1)(text);
}

void add_load(CLI::App &app, arguments &args)
{
    load_options &load = args.load;
    CLI::App *command = add_command(app, args, "load", "Load the routes of a file into the server", [&](output &out) {
        const bool forever = args.hold == "forever";
        load.protocol.hold_seconds = forever ? RIB_PROTO_HOLD_FOREVER : static_cast<uint32_t>(std::stoul(args.hold));
        return load_command(load, out);
    });
    command->add_option("file", load.file, "Text lines or an MRT table dump, plain, gzip or bzip2; - for standard input")
        ->required();
    command->add_option("--proto", load.protocol.name, "Protocol name")->capture_default_str();
    command->add_option("--instance", load.protocol.instance, "Instance name")->capture_default_str();
    command->add_option("--table", load.table, "Table identifier, default 0xE0800000");
    command->add_option("--distance", load.protocol.distance, "Administrative distance, 0 for the default of static routes")
        ->check(CLI::Range(0, 255));
    command->add_option("--hold", args.hold, "Seconds that the routes stay after this command, or forever")
        ->check(check_hold, "SECONDS|forever")
        ->capture_default_str();
    command->add_flag("--small", load.small, "Small messages");
    command->add_flag("--verify", load.verify, "Look every route up afterwards");
}

void add_file_commands(CLI::App &app, arguments &args)
{
    CLI::App *convert = add_command(app, args, "convert", "Print the routes of a file as text lines",
                                    [&](output &out) { return convert_command(args.convert_file, out); });
    convert->add_option("file", args.convert_file, "As for load")->required();

    generate_options &options = args.generate;
    CLI::App *generate = add_command(app, args, "generate", "Print a table with the shape of the real Internet's",
                                     [&](output &out) { return generate_command(options, out.as_json()); });
    generate->add_option("count", options.count, "Number of routes")
        ->required()
        ->check(CLI::Range(size_t{0}, generator_most_routes));
    generate->add_option("--seed", options.seed, "The same seed gives the same table")->capture_default_str();
    generate->add_option("-o,--output", options.file, "File to write, - for standard output")->capture_default_str();
}

void add_show_commands(CLI::App &app, arguments &args)
{
    lookup_options &options = args.lookup;
    CLI::App *lookup = add_command(app, args, "lookup", "Show the route for an address or a prefix",
                                   [&](output &out) { return lookup_command(options, out); });
    lookup->add_option("what", options.what, "ADDRESS or ADDRESS/LEN")->required();
    lookup->add_option("--table", options.table, "Table identifier, default 0xE0800000");
    lookup->add_flag("--exact", options.exact, "The prefix itself, not the longest match");

    add_command(app, args, "protocols", "List the registered protocols", [](output &out) { return protocols_command(out); });
    CLI::App *status = add_command(app, args, "status", "Show this client's connection and the state of a table",
                                   [&](output &out) { return status_command(args.status_table, out); });
    status->add_option("--table", args.status_table, "Table identifier, default 0xE0800000");
}

void add_demo(CLI::App &app, arguments &args)
{
    demo_options &options = args.demo;
    CLI::App *demo = add_command(app, args, "demo", "Load, check and withdraw a table in a server of its own",
                                 [&](output &out) { return demo_command(options, out); });
    demo->add_option("file", options.file, "As for load; without it a table is generated");
    demo->add_option("--routes", options.routes, "Size of the generated table")
        ->check(CLI::Range(size_t{1}, generator_most_routes))
        ->capture_default_str();
    demo->add_option("--seed", options.seed, "Seed of the generated table")->capture_default_str();
}

/* The message channel finds its run directory in the environment. */
void use_directory(const std::string &dir)
{
    if (!dir.empty())
        setenv("MSG_CHAN_DIR", dir.c_str(), 1);
}

int tell(const command_failure &failure, bool as_json)
{
    fmt::print(stderr, "ribctl: {}\n", failure.what());
    if (as_json)
        fmt::print("{}\n", json{{"error", failure.what()}}.dump(-1, ' ', false, json::error_handler_t::replace));
    return failure.code;
}

int run_command(const arguments &args)
{
    output out(args.as_json, stdout);
    try {
        const int code = args.command(out);
        out.finish();
        return code;
    } catch (const command_failure &failure) {
        return tell(failure, args.as_json);
    } catch (const std::exception &error) {
        return tell({exit_failed, error.what()}, args.as_json);
    }
}

} // namespace

int ribctl_run(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN); // a closed output or channel is an error like any other
    watch_interrupts();
    arguments args;
    CLI::App app("Fills, reads and tries out the IPv6 RIB", "ribctl");
    app.set_version_flag("--version", "ribctl " RIBCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--dir", args.dir, "Run directory of the message channel");
    app.add_flag("--json", args.as_json, "Print JSON");
    add_load(app, args);
    add_file_commands(app, args);
    add_show_commands(app, args);
    add_demo(app, args);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_fine : exit_usage;
    }
    use_directory(args.dir);
    return run_command(args);
}
