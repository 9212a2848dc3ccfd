#include "table_file.h"

table_file::table_file(const std::string &name, progress &shown)
    : name_(name), shown_(shown), bytes_(open_input(name)), reader_(route_reader_for(*bytes_)),
      problems_(name, reader_->position_unit(), shown)
{
}

bool table_file::next(route *into)
{
    read_problem problem;
    read_status status;
    while ((status = reader_->next(into, &problem)) == read_status::bad)
        problems_.add(problem);
    if (status == read_status::end)
        return false;
    ++routes_;
    constexpr uint64_t between_updates = 1024;
    if (routes_ % between_updates == 0)
        shown_.update(bytes_->file_position(), bytes_->file_size(), routes_);
    return true;
}

void table_file::tell_end() const
{
    problems_.tell_rest();
    for (const std::string &note : reader_->notes())
        problems_.tell_note(note);
    problems_.tell_cut(reader_->cut());
}

std::string table_file::kind() const
{
    return fmt::format("{}, {}", reader_->format(), bytes_->packing());
}

json table_file::problem_object(const read_problem &problem) const
{
    return {{reader_->position_unit(), problem.position}, {"why", problem.why}};
}

json table_file::object() const
{
    json first = json::array();
    for (const read_problem &problem : problems_.first())
        first.push_back(problem_object(problem));
    const std::optional<read_problem> cut = reader_->cut();
    return {{"file", name_},
            {"format", reader_->format()},
            {"packing", bytes_->packing()},
            {"routes", routes_},
            {"bad", problems_.count()},
            {"first_bad", first},
            {"notes", reader_->notes()},
            {"cut", cut ? problem_object(*cut) : json()}};
}
