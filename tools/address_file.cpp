#include "address_file.h"

#include "problem_list.h"

const char *parse_next_hop(std::string_view text, in6_addr *addr)
{
    in6_addr read;
    if (const char *why = parse_address(text, &read))
        return why;
    if (bits_of(read) == mask_of(128))
        return "all ones stand for no address";
    *addr = read;
    return nullptr;
}

read_status address_reader::next(in6_addr *into, read_problem *problem)
{
    return lines_.next([=](std::string_view line) { return parse_next_hop(take_word(&line), into); }, problem);
}

bool add_addresses(const std::string &file, progress &shown, std::vector<in6_addr> *into)
{
    const std::unique_ptr<input> bytes = open_input(file);
    problem_list problems(file, "line", shown);
    address_reader reader(*bytes);
    in6_addr read;
    read_problem problem;
    for (read_status status; (status = reader.next(&read, &problem)) != read_status::end;) {
        if (status == read_status::ok)
            into->push_back(read);
        else
            problems.add(problem);
    }
    problems.tell_rest();
    problems.tell_cut(reader.cut());
    return problems.count() == 0 && !reader.cut();
}
