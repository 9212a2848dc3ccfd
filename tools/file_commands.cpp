/*
 * The commands that need no server: convert and generate.
 */
#include "commands.h"
#include "failure.h"
#include "generator.h"
#include "interrupt.h"
#include "route_words.h"
#include "table_file.h"

#include <cerrno>
#include <cstring>
#include <memory>

static void print_route(const route &what, output &out)
{
    if (out.as_json()) {
        out.object(route_file_object(what));
        return;
    }
    const std::optional<std::string> line = route_file_line(what);
    if (!line)
        fail("a line of text cannot hold the paths of {}: use --json", text_of(what.prefix));
    out.line("{}", *line);
}

int convert_command(const std::string &file, output &out)
{
    progress shown("converting", true);
    table_file source(file, shown);
    route read;
    while (source.next(&read)) {
        check_interrupt();
        print_route(read, out);
    }
    source.tell_end();
    return source.flawless() ? exit_fine : exit_bad_input;
}

int generate_command(const generate_options &options, bool as_json)
{
    const bool to_stdout = options.file == "-";
    const std::unique_ptr<FILE, int (*)(FILE *)> file(to_stdout ? stdout : fopen(options.file.c_str(), "we"),
                                                      to_stdout ? fflush : fclose);
    if (!file)
        fail("cannot write {}: {}", options.file, std::strerror(errno));
    output out(as_json, file.get());
    for (const route &made : generate_table(options.count, options.seed))
        print_route(made, out);
    out.finish();
    return exit_fine;
}
