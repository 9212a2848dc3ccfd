/*
 * The commands for SIDs and IIDs.
 */
#include "cli_arguments.h"

using run_t = std::function<int(output &)>;

/* A command of which each part is one of its own. */
static CLI::App *add_group(CLI::App &app, const char *name, const char *help)
{
    CLI::App *group = app.add_subcommand(name, help);
    group->require_subcommand(1);
    return group;
}

static CLI::App *add_sid_request(CLI::App &group, arguments &args, const char *name, const char *help, run_t run)
{
    sid_options &options = args.sid;
    CLI::App *command = new_command(group, args, name, help, std::move(run));
    command->add_option("--format", options.format, "SID format, as csid-32-16")->required();
    command->add_option("--locator", options.locator, "Block and node")->required()->type_name("ADDRESS/LEN");
    command->add_option("--function", options.function, "Endpoint behaviour")->required()->type_name("NAME|NUMBER");
    command->add_option("--opcode", options.opcode, "Value of the function; without it the server chooses one")
        ->check(CLI::Range(uint32_t{1}, uint32_t{0xFFFE}));
    command->add_option("--interface", options.interface, "To which the function sends");
    command->add_option("--nexthop", options.nexthop, "To which the function sends");
    command->add_option("--table", options.lookup_table, "In which the function looks up");
    command->add_option("--context", options.context, "A number that is given back with the SID");
    add_name_options(command, &options.protocol);
    return command;
}

static CLI::App *add_iid_request(CLI::App &group, arguments &args, const char *name, const char *help, run_t run)
{
    iid_options &options = args.iid;
    CLI::App *command = new_command(group, args, name, help, std::move(run));
    command->add_option("--form", options.form, "What the IID becomes as a prefix")
        ->check(CLI::IsMember({"mapped", "sid", "explicit"}))
        ->capture_default_str();
    command->add_option("--key", options.key, "What the IID stands for");
    command->add_option("--iid", options.iid, "The number; without it the server chooses one");
    command->add_option("--sid", options.sid, "Form sid: a SID whose block is used")->type_name("ADDRESS");
    command->add_option("--format", options.format, "Form sid: its format");
    command->add_option("--value", options.value, "Form explicit: 24 hexadecimal digits");
    command->add_option("--context", options.context, "A number that is given back with the IID");
    add_name_options(command, &options.protocol);
    return command;
}

void add_identifier_commands(CLI::App &app, arguments &args)
{
    CLI::App *sid = add_group(app, "sid", "Ask for SRv6 SIDs, give them back, list them");
    CLI::App *add = add_sid_request(*sid, args, "add", "Ask for a SID; it stays after this command",
                                    [&](output &out) { return sid_add_command(args.sid, out); });
    add_kind_option(add, &args.sid.protocol);
    add_sid_request(*sid, args, "free", "Give back what the same request got, or the SID with that --opcode", [&](output &out) {
        return sid_free_command(args.sid, out);
    })->add_flag("--immediate", args.sid.immediate, "It may be given out again at once");
    new_command(*sid, args, "list", "List what was given out", [](output &out) { return sid_list_command(out); });

    CLI::App *iid = add_group(app, "iid", "Ask for identifiers in prefixes, give them back, list them");
    CLI::App *add_iid = add_iid_request(*iid, args, "add", "Ask for an IID; it stays after this command",
                                        [&](output &out) { return iid_add_command(args.iid, out); });
    add_kind_option(add_iid, &args.iid.protocol);
    add_iid_request(*iid, args, "free", "Give back what the same request got",
                    [&](output &out) { return iid_free_command(args.iid, out); });
    new_command(*iid, args, "list", "List what was given out", [](output &out) { return iid_list_command(out); });
}
