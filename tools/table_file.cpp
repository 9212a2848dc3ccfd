#include "table_file.h"

static constexpr size_t told_in_detail = 10;

table_file::table_file(const std::string &name, progress &shown)
    : name_(name), shown_(shown), bytes_(open_input(name)), reader_(route_reader_for(*bytes_))
{
}

bool table_file::next(route *into)
{
    read_problem problem;
    read_status status;
    while ((status = reader_->next(into, &problem)) == read_status::bad) {
        ++bad_;
        if (first_bad_.size() == told_in_detail)
            continue;
        shown_.message(fmt::format("{}: {} {}: {}", name_, reader_->position_unit(), problem.position, problem.why));
        first_bad_.push_back(problem);
    }
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
    const char *unit = reader_->position_unit();
    if (bad_ > first_bad_.size())
        shown_.message(fmt::format("{}: {} more that could not be read", name_, bad_ - first_bad_.size()));
    for (const std::string &note : reader_->notes())
        shown_.message(fmt::format("{}: {}", name_, note));
    if (const std::optional<read_problem> cut = reader_->cut())
        shown_.message(fmt::format("{}: it ends too early, at {} {}: {}", name_, unit, cut->position, cut->why));
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
    for (const read_problem &problem : first_bad_)
        first.push_back(problem_object(problem));
    const std::optional<read_problem> cut = reader_->cut();
    return {{"file", name_},
            {"format", reader_->format()},
            {"packing", bytes_->packing()},
            {"routes", routes_},
            {"bad", bad_},
            {"first_bad", first},
            {"notes", reader_->notes()},
            {"cut", cut ? problem_object(*cut) : json()}};
}
