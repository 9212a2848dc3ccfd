/*
 * The commands that show and change single routes, and ask the server.
 */
#include "cli_arguments.h"

static void add_lookup(CLI::App &app, arguments &args)
{
    lookup_options &options = args.lookup;
    CLI::App *command = new_command(app, args, "lookup", "Show the route for an address or a prefix",
                                    [&](output &out) { return lookup_command(options, out); });
    command->add_option("what", options.what, "ADDRESS or ADDRESS/LEN")->required();
    add_table_option(command, &options.table);
    CLI::Option *exact = command->add_flag("--exact", options.exact, "The prefix itself, not the longest match");
    command->add_flag("--longer", options.longer, "The first more specific route within the prefix")->excludes(exact);
}

static void add_routes(CLI::App &app, arguments &args)
{
    routes_options &options = args.routes;
    CLI::App *command = new_command(app, args, "routes", "List the routes of a table; none, and success, when nothing matches",
                                    [&](output &out) { return routes_command(options, out); });
    add_table_option(command, &options.table);
    command->add_option("--protocol", options.protocol, "Of this protocol only")->type_name("NAME[/INSTANCE]");
    command->add_option("--range", options.range, "A prefix and all within it, or all between two prefixes or addresses")
        ->type_name("PREFIX|START-END");
    command->add_flag("--best", options.best, "Only the routes that forward");
    command->add_flag("--text", options.plain, "Lines as load reads them: prefix and first next hop");
}

static void add_watch(CLI::App &app, arguments &args)
{
    watch_options &options = args.watch;
    CLI::App *command = new_command(app, args, "watch", "Follow the changes of a table, or of a protocol in it",
                                    [&](output &out) { return watch_command(options, out); });
    add_table_option(command, &options.table);
    command->add_option("--protocol", options.protocol, "Of this protocol only; waits until it is registered")
        ->type_name("NAME[/INSTANCE]");
    command->add_flag("--best", options.best, "Only the routes that forward");
    command->add_flag("--count", options.count, "How many changes there were, once a second, instead of each");
    command->add_flag("--no-retry{false}", options.retry, "Fail without a server, and when it is lost");
    command->add_flag("--until-complete", options.until_complete, "End when all that is there has been told");
}

static void add_explain(CLI::App &app, arguments &args)
{
    CLI::App *command = new_command(app, args, "explain", "Show every route for a prefix, best first, and what decides",
                                    [&](output &out) { return explain_command(args.explained, args.table, out); });
    command->add_option("what", args.explained, "PREFIX, or ADDRESS for the prefix of its longest match")->required();
    add_table_option(command, &args.table);
}

/* What add and del have in common. */
static void add_change_options(CLI::App *command, change_options *options)
{
    command->add_option("prefix", options->prefix, "ADDRESS/LEN")->required();
    command->add_option("--interface", options->interface, "Outgoing interface of the path");
    add_table_option(command, &options->table);
    add_name_options(command, &options->protocol);
}

/* Each kind of attribute, "--NAME VALUE,VALUE". */
static void add_attribute_options(CLI::App *command, std::vector<words_t> *attributes)
{
    for (size_t i = 0; i < attributes->size(); ++i) {
        const attribute_kind &kind = attribute_kinds()[i];
        std::string name = fmt::format("--{}", kind.name);
        std::replace(name.begin(), name.end(), '_', '-');
        command->add_option(name, (*attributes)[i])
            ->delimiter(',')
            ->allow_extra_args(false)
            ->option_text(kind.form)
            ->group("Attributes of the path");
    }
}

static void add_changes(CLI::App &app, arguments &args)
{
    change_options &options = args.change;
    CLI::App *add = new_command(app, args, "add", "Add a route, or a path to a route; it stays after this command",
                                [&](output &out) { return add_command(options, out); });
    add_change_options(add, &options);
    add->add_option("nexthop", options.nexthop, "Address; :: for none but the --interface")->required();
    add->add_option("--metric", options.metric, "Metric of the route; like the next two, set anew by every add");
    add->add_option("--distance", options.distance, "Administrative distance of the route, 0 for the default of the kind")
        ->check(CLI::Range(0, 255));
    add->add_option("--tag", options.tag, "Tag of the route");
    add->add_flag("--replace", options.replace, "The path takes the place of all that the route has");
    add_kind_option(add, &options.protocol);
    add_attribute_options(add, &options.attributes);

    CLI::App *del = new_command(app, args, "del", "Withdraw a route, or one path of it",
                                [&](output &out) { return del_command(options, out); });
    add_change_options(del, &options);
    del->add_option("nexthop", options.nexthop, "Address of the path; without it and --interface all paths are withdrawn");
}

static void add_local(CLI::App &app, arguments &args)
{
    address_options &options = args.address;
    CLI::App *command =
        new_command(app, args, "local", "Tell whether an address is local or connected, and the best source for it",
                    [&](output &out) { return local_command(options, out); });
    command->add_option("address", options.addr, "ADDRESS")->required();
    add_table_option(command, &options.table);
}

static void check_addresses(const nexthop_options &options)
{
    if (options.addresses.empty() && options.file.empty())
        throw CLI::RequiredError("address");
    if (options.addresses.size() > 1 && !options.watch)
        throw CLI::ValidationError("address", "one at a time without --watch");
}

static void add_nexthop(CLI::App &app, arguments &args)
{
    nexthop_options &options = args.nexthop;
    CLI::App *command =
        new_command(app, args, "nexthop", "Show the next hop towards an address, or watch next hops", [&](output &out) {
            return options.watch ? follow_next_hops_command(options, out) : nexthop_command(options, out);
        });
    command->add_option("address", options.addresses, "ADDRESS, any number of them with --watch");
    add_table_option(command, &options.table);
    CLI::Option *one_step =
        command->add_flag("--one-step", options.one_step, "As the longest match has it, reached directly or not");
    CLI::Option *no_default = command->add_flag("--no-default", options.no_default, "The default route leads nowhere");
    CLI::Option *watch = command->add_flag("--watch", options.watch, "Tell how each address is reached, and every change of it");
    watch->excludes(one_step)->excludes(no_default);
    command
        ->add_option("--file", options.file,
                     "Watch the addresses of a file too, the first word of each line; - for standard input")
        ->needs(watch);
    command->add_option("--min-length", options.least_length, "Routes with shorter prefixes lead nowhere")
        ->needs(watch)
        ->check(CLI::Range(0, 128));
    command->add_flag("--once", options.once, "End when each has been told; fail without a server")->needs(watch);
    command->add_flag("--no-retry{false}", options.retry, "Fail without a server, and when it is lost")->needs(watch);
    command->parse_complete_callback([&] { check_addresses(options); });
}

void add_route_commands(CLI::App &app, arguments &args)
{
    add_lookup(app, args);
    add_routes(app, args);
    add_watch(app, args);
    add_explain(app, args);
    add_changes(app, args);
    add_local(app, args);
    add_nexthop(app, args);
    new_command(app, args, "protocols", "List the registered protocols", [](output &out) { return protocols_command(out); });
    CLI::App *status = new_command(app, args, "status", "Show this client's connection and the state of a table",
                                   [&](output &out) { return status_command(args.table, out); });
    add_table_option(status, &args.table);
}
