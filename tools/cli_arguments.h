/*
 * What the command line can ask for, and how commands are added to it.
 */
#pragma once

#include "commands.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

/* Everything that can be asked for; what was not asked for keeps its default. */
struct arguments {
    std::string dir, hold = "forever", convert_file, explained;
    bool as_json = false;
    load_options load;
    generate_options generate;
    demo_options demo;
    change_options change;
    lookup_options lookup;
    routes_options routes;
    watch_options watch;
    address_options address;
    nexthop_options nexthop;
    sid_options sid;
    iid_options iid;
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT; /* of the commands without options of their own */
    std::function<int(output &)> command;
};

/* A command that, when it is asked for, becomes the one to run. */
CLI::App *new_command(CLI::App &app, arguments &args, const char *name, const char *help, std::function<int(output &)> run);
void add_table_option(CLI::App *command, rib_tableid_td *table);
/* Under which names routes are added and withdrawn. */
void add_name_options(CLI::App *command, protocol_identity *protocol);
void add_kind_option(CLI::App *command, protocol_identity *protocol);

/* load, convert, generate, demo */
void add_table_commands(CLI::App &app, arguments &args);
/* lookup, routes, watch, explain, add, del, local, nexthop, protocols, status */
void add_route_commands(CLI::App &app, arguments &args);
/* sid, iid */
void add_identifier_commands(CLI::App &app, arguments &args);
