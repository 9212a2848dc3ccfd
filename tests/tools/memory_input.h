/*
 * Bytes in memory as an input, handed out in pieces of a chosen size.
 */
#pragma once

#include "tests/support/hex.h"
#include "tools/route_words.h"

#include <algorithm>
#include <cstring>
#include <memory>

class memory_input final : public input
{
public:
    memory_input(bytes_t bytes, size_t piece) : bytes_(std::move(bytes)), piece_(piece) {}
    const char *packing() const override { return "memory"; }
    uint64_t file_position() const override { return given_; }
    uint64_t file_size() const override { return bytes_.size(); }

private:
    size_t fill(uint8_t *into, size_t room) override
    {
        const size_t part = std::min({room, piece_, bytes_.size() - given_});
        if (part)
            std::memcpy(into, bytes_.data() + given_, part);
        given_ += part;
        return part;
    }

    bytes_t bytes_;
    size_t piece_, given_ = 0;
};

inline bytes_t bytes_of(std::string_view text)
{
    return {text.begin(), text.end()};
}

/* All that an input gives, piece by piece. */
inline std::string drained(input &from)
{
    std::string all(1 << 21, '\0');
    all.resize(from.read(reinterpret_cast<uint8_t *>(all.data()), all.size()));
    return all;
}

/* What a reader makes of bytes, a line each: "PREFIX NEXTHOP NAME=VALUE" or JSON, or "!POSITION WHY", at the end "cut POSITION
 * WHY" and the notes. */
inline std::vector<std::string> read_all(route_reader &reader)
{
    std::vector<std::string> told;
    route read;
    read_problem problem;
    for (read_status status; (status = reader.next(&read, &problem)) != read_status::end;) {
        if (status == read_status::ok)
            told.push_back(route_file_line(read).value_or(route_file_object(read).dump()));
        else
            told.push_back("!" + std::to_string(problem.position) + " " + problem.why);
    }
    if (const auto cut = reader.cut())
        told.push_back("cut " + std::to_string(cut->position) + " " + cut->why);
    for (const std::string &note : reader.notes())
        told.push_back(note);
    return told;
}

inline std::vector<std::string> read_all(const bytes_t &bytes, size_t piece = 1 << 20)
{
    memory_input from(bytes, piece);
    return read_all(*route_reader_for(from));
}
