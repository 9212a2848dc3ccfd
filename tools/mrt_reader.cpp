/*
 * MRT table dumps (RFC 6396 TABLE_DUMP_V2, RFC 8050): of each IPv6 unicast prefix the path with the shortest AS path,
 * of equals that of the lowest peer index, then of the lowest path identifier.
 *
 * Every length in the file is foreign: a record is read whole, at most record_room bytes, and then parsed within itself.
 */
#include "bgp_attributes.h"
#include "byte_cursor.h"
#include "route_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>

namespace
{

constexpr size_t header_bytes = 12;
constexpr size_t record_room = 16 << 20;
constexpr uint16_t table_dump_v2 = 13;
enum : uint16_t { peer_index_table = 1, rib_ipv6_unicast = 4, rib_ipv6_unicast_addpath = 10 };

struct record_header {
    uint16_t type, subtype;
    uint32_t len;
};

struct best_entry {
    bool found = false;
    std::tuple<uint32_t, uint16_t, uint32_t> rank; // AS path length, peer index, path identifier
    in6_addr nexthop = {};
};

const char *type_name(uint16_t type)
{
    switch (type) {
    case 11:
        return "OSPFv2";
    case 12:
        return "TABLE_DUMP";
    case 13:
        return "TABLE_DUMP_V2";
    case 16:
        return "BGP4MP";
    case 17:
        return "BGP4MP_ET";
    case 32:
    case 33:
        return "ISIS";
    case 48:
    case 49:
        return "OSPFv3";
    default:
        return "unknown";
    }
}

class mrt_records final : public route_reader
{
public:
    explicit mrt_records(input &bytes) : bytes_(bytes) {}

    read_status next(route *into, read_problem *problem) override
    {
        if (!held_.why.empty()) { // of a record that gave its route first
            *problem = std::exchange(held_, {});
            return read_status::bad;
        }
        record_header header = {};
        while (next_record(&header)) {
            const read_status status = take_record(header, into);
            if (status == read_status::end)
                continue;
            if (status == read_status::bad)
                *problem = std::exchange(held_, {});
            return status;
        }
        return read_status::end;
    }

    std::optional<read_problem> cut() const override { return cut_; }
    const char *format() const override { return "mrt"; }
    const char *position_unit() const override { return "byte"; }

    std::vector<std::string> notes() const override
    {
        std::vector<std::string> told;
        for (const auto &[kind, count] : skipped_)
            told.push_back(fmt::format("{} records of type {} ({}), subtype {} hold no IPv6 unicast table and were skipped",
                                       count, kind.first, type_name(kind.first), kind.second));
        if (skipped_others_)
            told.push_back(fmt::format("{} records of further types were skipped", skipped_others_));
        return told;
    }

private:
    /* Reads the header of the next record; false at the end of the data, good or bad. */
    bool next_record(record_header *header)
    {
        position_ = bytes_.position();
        const std::span<const uint8_t> start = bytes_.peek(header_bytes);
        if (start.size() < header_bytes)
            return note_cut(start.empty() ? 0 : header_bytes, start.size());
        byte_cursor cursor(start.subspan(4)); // behind the time
        header->type = cursor.u16();
        header->subtype = cursor.u16();
        header->len = cursor.u32();
        bytes_.consume(header_bytes);
        return true;
    }

    /* Always false: there is no whole record. */
    bool note_cut(uint64_t wanted, uint64_t got)
    {
        if (wanted > 0 && bytes_.broken().empty())
            cut_ = {position_, fmt::format("the record has {} bytes, but the file ends after {} of them", wanted, got)};
        else if (wanted > 0)
            cut_ = {position_, fmt::format("the record is cut: {}", bytes_.broken())};
        else if (!bytes_.broken().empty())
            cut_ = {position_, bytes_.broken()};
        return false;
    }

    bool is_wanted(const record_header &header) const
    {
        return header.type == table_dump_v2 && (header.subtype == peer_index_table || header.subtype == rib_ipv6_unicast ||
                                                header.subtype == rib_ipv6_unicast_addpath);
    }

    /* end: nothing came of this record. bad: held_ tells. */
    read_status take_record(const record_header &header, route *into)
    {
        if (!is_wanted(header) || header.len > record_room)
            return skip_record(header);
        record_.resize(header.len);
        const size_t got = bytes_.read(record_.data(), record_.size());
        if (got < record_.size()) {
            note_cut(header_bytes + header.len, header_bytes + got);
            return read_status::end;
        }
        std::string why;
        if (header.subtype == peer_index_table)
            why = take_peers();
        else
            why = take_prefix(header.subtype == rib_ipv6_unicast_addpath, into);
        if (!why.empty())
            hold(why);
        else if (header.subtype != peer_index_table)
            return read_status::ok;
        return why.empty() ? read_status::end : read_status::bad;
    }

    read_status skip_record(const record_header &header)
    {
        const uint64_t got = bytes_.skip(header.len);
        if (got < header.len) {
            note_cut(uint64_t{header_bytes} + header.len, header_bytes + got);
            return read_status::end;
        }
        if (is_wanted(header)) {
            hold(fmt::format("the record has {} bytes, more than any such record can have", header.len));
            return read_status::bad;
        }
        constexpr size_t most_kinds = 64;
        const std::pair kind(header.type, header.subtype);
        if (skipped_.size() < most_kinds || skipped_.contains(kind))
            ++skipped_[kind];
        else
            ++skipped_others_;
        return read_status::end;
    }

    void hold(const std::string &why) { held_ = {position_, why}; }

    /* Only the number of peers matters: entries must name one of them. */
    std::string take_peers()
    {
        byte_cursor cursor(record_);
        cursor.u32(); // collector
        cursor.bytes(cursor.u16());
        const uint16_t count = cursor.u16();
        for (uint16_t i = 0; i < count && cursor.ok(); ++i) {
            const uint8_t type = cursor.u8();
            const size_t address = type & 1 ? 16 : 4, as_number = type & 2 ? 4 : 2;
            cursor.bytes(4 + address + as_number);
        }
        if (!cursor.ok())
            return "the peer index table runs over its record";
        peers_ = count;
        return {};
    }

    std::string take_prefix(bool with_path_id, route *into)
    {
        byte_cursor cursor(record_);
        cursor.u32(); // sequence number
        const uint8_t len = cursor.u8();
        if (len > 128)
            return fmt::format("the prefix length is {}", len);
        const std::span<const uint8_t> prefix = cursor.bytes((len + 7u) / 8u);
        const uint16_t count = cursor.u16();
        best_entry best;
        std::string entry_problem;
        for (unsigned i = 0; i < count && cursor.ok(); ++i)
            take_entry(cursor, with_path_id, i, &best, &entry_problem);
        if (!cursor.ok())
            return "the entries run over their record";
        if (!best.found)
            return entry_problem.empty() ? "the prefix has no entries" : entry_problem;
        if (cursor.left() > 0 && entry_problem.empty())
            entry_problem = fmt::format("{} bytes follow the last entry; the route was taken", cursor.left());
        in6_addr addr = {};
        std::copy(prefix.begin(), prefix.end(), addr.s6_addr);
        *into = {{masked(addr, len), len}, best.nexthop};
        if (!entry_problem.empty())
            hold(entry_problem);
        return {};
    }

    /* A bad entry does not spoil the others; the first one is told. */
    void take_entry(byte_cursor &cursor, bool with_path_id, unsigned index, best_entry *best, std::string *problem) const
    {
        const uint16_t peer = cursor.u16();
        cursor.u32(); // time
        const uint32_t path_id = with_path_id ? cursor.u32() : 0;
        const std::span<const uint8_t> attributes = cursor.bytes(cursor.u16());
        if (!cursor.ok())
            return;
        bgp_path path = {};
        const char *why = parse_bgp_attributes(attributes, &path);
        if (peers_ && peer >= *peers_)
            why = "its peer is not in the peer index table";
        if (why) {
            if (problem->empty())
                *problem = fmt::format("entry {} was left out: {}", index, why);
            return;
        }
        const std::tuple rank(path.as_path_len, peer, path_id);
        if (!best->found || rank < best->rank)
            *best = {true, rank, path.nexthop};
    }

    input &bytes_;
    uint64_t position_ = 0; // of the current record
    std::vector<uint8_t> record_;
    std::optional<uint16_t> peers_;
    read_problem held_;
    std::optional<read_problem> cut_;
    std::map<std::pair<uint16_t, uint16_t>, uint64_t> skipped_;
    uint64_t skipped_others_ = 0;
};

} // namespace

std::unique_ptr<route_reader> mrt_reader(input &bytes)
{
    return std::make_unique<mrt_records>(bytes);
}
