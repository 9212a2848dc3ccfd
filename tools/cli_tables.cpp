/*
 * The commands that handle whole tables.
 */
#include "cli_arguments.h"

#include "generator.h"

static std::string check_hold(const std::string &text)
{
    return text == "forever" ? std::string() : CLI::Range(uint32_t{1}, RIB_PROTO_HOLD_FOREVER - 1)(text);
}

static void add_load(CLI::App &app, arguments &args)
{
    load_options &load = args.load;
    CLI::App *command = new_command(app, args, "load", "Load the routes of a file into the server", [&](output &out) {
        const bool forever = args.hold == "forever";
        load.protocol.hold_seconds = forever ? RIB_PROTO_HOLD_FOREVER : static_cast<uint32_t>(std::stoul(args.hold));
        return load_command(load, out);
    });
    command
        ->add_option("file", load.file, "Lines of text or JSON, or an MRT table dump, plain, gzip or bzip2; - for standard input")
        ->required();
    add_name_options(command, &load.protocol);
    add_kind_option(command, &load.protocol);
    add_table_option(command, &load.table);
    command->add_option("--distance", load.distance, "Administrative distance of the routes, 0 for the default of the kind")
        ->check(CLI::Range(0, 255));
    command->add_option("--hold", args.hold, "Seconds that the routes stay after this command, or forever")
        ->check(check_hold, "SECONDS|forever")
        ->capture_default_str();
    command->add_flag("--small", load.small, "Small messages");
    command->add_flag("--verify", load.verify, "Look every route up afterwards");
}

static void add_file_commands(CLI::App &app, arguments &args)
{
    CLI::App *convert = new_command(app, args, "convert", "Print the routes of a file as text lines",
                                    [&](output &out) { return convert_command(args.convert_file, out); });
    convert->add_option("file", args.convert_file, "As for load")->required();

    generate_options &options = args.generate;
    CLI::App *generate = new_command(app, args, "generate", "Print a table with the shape of the real Internet's",
                                     [&](output &out) { return generate_command(options, out.as_json()); });
    generate->add_option("count", options.count, "Number of routes")
        ->required()
        ->check(CLI::Range(size_t{0}, generator_most_routes));
    generate->add_option("--seed", options.seed, "The same seed gives the same table")->capture_default_str();
    generate->add_option("-o,--output", options.file, "File to write, - for standard output")->capture_default_str();
}

static void add_demo(CLI::App &app, arguments &args)
{
    demo_options &options = args.demo;
    CLI::App *demo = new_command(app, args, "demo", "Load, check and withdraw a table in a server of its own",
                                 [&](output &out) { return demo_command(options, out); });
    demo->add_option("file", options.file, "As for load; without it a table is generated");
    demo->add_option("--routes", options.routes, "Size of the generated table")
        ->check(CLI::Range(size_t{1}, generator_most_routes))
        ->capture_default_str();
    demo->add_option("--seed", options.seed, "Seed of the generated table")->capture_default_str();
}

void add_table_commands(CLI::App &app, arguments &args)
{
    add_load(app, args);
    add_file_commands(app, args);
    add_demo(app, args);
}
