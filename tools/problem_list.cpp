#include "problem_list.h"

#include <fmt/format.h>

void problem_list::add(const read_problem &problem)
{
    constexpr size_t told_in_detail = 10;
    ++count_;
    if (first_.size() == told_in_detail)
        return;
    shown_.message(fmt::format("{}: {} {}: {}", file_, unit_, problem.position, problem.why));
    first_.push_back(problem);
}

void problem_list::tell_rest() const
{
    if (count_ > first_.size())
        shown_.message(fmt::format("{}: {} more that could not be read", file_, count_ - first_.size()));
}

void problem_list::tell_note(const std::string &note) const
{
    shown_.message(fmt::format("{}: {}", file_, note));
}

void problem_list::tell_cut(const std::optional<read_problem> &cut) const
{
    if (cut)
        shown_.message(fmt::format("{}: it ends too early, at {} {}: {}", file_, unit_, cut->position, cut->why));
}
