#include "cli.h"

#include "cli_arguments.h"
#include "failure.h"
#include "interrupt.h"

#include <csignal>
#include <cstdlib>
#include <map>

CLI::App *new_command(CLI::App &app, arguments &args, const char *name, const char *help, std::function<int(output &)> run)
{
    CLI::App *command = app.add_subcommand(name, help);
    command->callback([&args, run = std::move(run)] { args.command = run; });
    return command;
}

void add_table_option(CLI::App *command, rib_tableid_td *table)
{
    command->add_option("--table", *table, "Table identifier, default 0xE0800000");
}

void add_name_options(CLI::App *command, protocol_identity *protocol)
{
    command->add_option("--proto", protocol->name, "Protocol name")->capture_default_str();
    command->add_option("--instance", protocol->instance, "Instance name")->capture_default_str();
}

void add_kind_option(CLI::App *command, protocol_identity *protocol)
{
    const std::map<std::string, uint32_t> kinds = {{"routing", RIB_PROTO_KIND_ROUTING},
                                                   {"connected", RIB_PROTO_KIND_CONNECTED},
                                                   {"local", RIB_PROTO_KIND_LOCAL},
                                                   {"static", RIB_PROTO_KIND_STATIC}};
    command->add_option("--kind", protocol->kind, "Kind of the protocol; default: the one it has, static for a new one")
        ->transform(CLI::CheckedTransformer(kinds))
        ->option_text("routing|connected|local|static");
}

namespace
{

/* The message channel finds its run directory in the environment. */
void use_directory(const std::string &dir)
{
    if (!dir.empty())
        setenv("MSG_CHAN_DIR", dir.c_str(), 1);
}

/* What was found out before the failure is printed as well. */
int tell(const command_failure &failure, output &out)
{
    out.write();
    fmt::print(stderr, "ribctl: {}\n", failure.what());
    if (out.as_json())
        out.object({{"error", failure.what()}});
    out.write();
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
        return tell(failure, out);
    } catch (const std::exception &error) {
        return tell({exit_failed, error.what()}, out);
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
    add_table_commands(app, args);
    add_route_commands(app, args);
    add_identifier_commands(app, args);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? exit_fine : exit_usage;
    }
    use_directory(args.dir);
    return run_command(args);
}
