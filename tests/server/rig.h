/*
 * A server on plain memory for the tests: messages go in as bytes, replies come out as bytes. Every reply area is exactly
 * as large as was asked for and full of old bytes, so that overruns and leaks show.
 */
#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "server/server.h"

using bytes_td = std::vector<uint8_t>;

constexpr uint8_t OLD_BYTE = 0xEE;
constexpr rib_tableid_td TABLE = 0xE0800000;

/* Bytes from hex digits; white space is skipped, and a # begins a comment that goes to the end of the line. */
bytes_td hex(const char *text);
std::string hex_of(const bytes_td &bytes);

inline void put8(bytes_td &bytes, size_t at, uint8_t value)
{
    bytes.at(at) = value;
}
inline void put16(bytes_td &bytes, size_t at, uint16_t value)
{
    bytes.at(at) = static_cast<uint8_t>(value >> 8);
    bytes.at(at + 1) = static_cast<uint8_t>(value);
}
inline void put32(bytes_td &bytes, size_t at, uint32_t value)
{
    put16(bytes, at, static_cast<uint16_t>(value >> 16));
    put16(bytes, at + 2, static_cast<uint16_t>(value));
}
inline uint32_t get32(const bytes_td &bytes, size_t at)
{
    return static_cast<uint32_t>(bytes.at(at) << 24 | bytes.at(at + 1) << 16 | bytes.at(at + 2) << 8 | bytes.at(at + 3));
}
inline void put_text(bytes_td &bytes, size_t at, const std::string &text)
{
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}
void put_addr(bytes_td &bytes, size_t at, const char *text);
void append(bytes_td &bytes, const bytes_td &more);

/* A path record, a route record with paths, a whole message. */
struct path_td {
    const char *nexthop = "::";
    uint32_t interface = 0;
    uint32_t table = 0;
    uint32_t metric = 0;
    bool withdraw = false;
    bool backup = false;
    uint8_t label_count = 0;
    bytes_td attrs = {};   /* entries, in host order */
    uint32_t ext_mask = 0; /* of the trailing blocks, which are filled with 0xB0 */
};
struct route_td {
    const char *prefix = "2001:db8::";
    uint8_t len = 32;
    std::vector<path_td> paths = {};
    bool replace = false;
    uint32_t metric = 0;
    uint8_t distance = 0;
    bytes_td attrs = {};
};
bytes_td record(const route_td &route);
bytes_td table_record(rib_tableid_td table, rib_protoid_td protoid);
bytes_td complete_marker();
bytes_td converge_marker(rib_tableid_td table);
bytes_td single_batch(rib_tableid_td table, rib_protoid_td protoid, const std::vector<bytes_td> &records);
bytes_td multi_batch(const std::vector<bytes_td> &records);
bytes_td request(uint32_t command, const bytes_td &body, size_t delimiter_at, size_t sent);

struct rig_td {
    explicit rig_td(rib_server_options options = {}) : server(options, [this] { return now; }) {}

    /* A bound client of that process name. */
    rib_session &client(const std::string &process = "bgp");
    bytes_td send(rib_session &session, bytes_td message);
    rib_protoid_td add_protocol(rib_session &session, const std::string &name, std::vector<uint32_t> words = {0, 0, 0, 0});
    errcode result_of(rib_session &session, const bytes_td &message) { return get32(send(session, message), 0); }

    uint64_t now = 1000;
    rib_server server;
};

/* The results of a batch reply: t table, r route, a added and d withdrawn path, each with its RIB result. */
std::string results_of(const bytes_td &reply);
int16_t status_of(const bytes_td &reply);

/* The requests that the tests need. */
bytes_td bind_request(const std::string &process, const std::string &node);
bytes_td register_request(const std::string &name, const std::string &instance, const std::vector<uint32_t> &words);
bytes_td protoid_request(uint32_t command, rib_protoid_td protoid, uint32_t word = 0);
bytes_td purge_client_request(const std::string &process, const std::string &node);
bytes_td status_request(rib_tableid_td table);
bytes_td lookup_request(const char *addr, uint32_t length, uint32_t flags, rib_tableid_td table = TABLE);
/* What a lookup finds: "prefix/len state protoid first-nexthop", or the result. */
std::string found(rig_td &rig, rib_session &session, const bytes_td &lookup);
