/*
 * A server on plain memory for the tests: messages go in as bytes, replies come out as bytes. Every reply area is exactly
 * as large as was asked for and full of old bytes, so that overruns and leaks show.
 */
#pragma once

#include <string>
#include <vector>

#include "server/server.h"
#include "tests/support/hex.h"

constexpr uint8_t OLD_BYTE = 0xEE;
constexpr rib_tableid_td TABLE = 0xE0800000;
constexpr errcode NOT_FOUND = 0x42D29400;

/* A number as it travels, and back. */
bytes_t number(uint64_t value, size_t width = 4);
uint32_t get32(const bytes_t &bytes, size_t at);

/* A field of bytes: where, what and how wide; an address: where and as text. */
struct field_td {
    size_t at;
    uint64_t value;
    size_t width = 4;
};
using addr_td = std::pair<size_t, std::string>;
std::string addr_at(const bytes_t &bytes, size_t at);

/* A path record, a route record with paths, a whole message. */
struct path_td {
    std::string nexthop = "::";
    uint32_t interface = 0;
    uint32_t table = 0;
    uint32_t metric = 0;
    bool withdraw = false;
    bool backup = false;
    uint8_t label_count = 0;
    bytes_t attrs = {};    /* entries, in host order */
    uint32_t ext_mask = 0; /* of the trailing blocks, which are filled with 0xB0 */
};
struct route_td {
    std::string prefix = "2001:db8::";
    uint8_t len = 32;
    std::vector<path_td> paths = {};
    bool replace = false;
    uint32_t metric = 0;
    uint8_t distance = 0;
    bytes_t attrs = {};
};
bytes_t record(const route_td &route);
bytes_t table_record(rib_tableid_td table, rib_protoid_td protoid);
bytes_t single_batch(rib_tableid_td table, rib_protoid_td protoid, const std::vector<bytes_t> &records);
bytes_t multi_batch(const std::vector<bytes_t> &records);
/* Of a single request; zeros follow its body. */
bytes_t request(uint32_t command, const bytes_t &body, size_t zeros = 8);
/* The same, of the length that the command has, from the fields of its body. */
bytes_t request_of(uint32_t command, const std::vector<field_td> &fields, const std::vector<addr_td> &addrs = {});
bytes_t register_request(const std::string &name, const std::string &instance, const std::vector<uint32_t> &words);
bytes_t protoid_request(uint32_t command, rib_protoid_td protoid, uint32_t word = 0);
bytes_t status_request(rib_tableid_td table);
bytes_t lookup_request(const std::string &addr, uint32_t length, uint32_t flags, rib_tableid_td table = TABLE);
bytes_t bind_request(const std::string &process, const std::string &node);

/* The results of a batch reply: t table, r route, a added and d withdrawn path, each with its RIB result. */
std::string results_of(const bytes_t &reply);

struct rig_td {
    explicit rig_td(rib_server_options options = {}) : server(options, [this] { return now; }) {}

    /* A bound client of that process name. */
    rib_session &client(const std::string &process = "bgp");
    bytes_t send(rib_session &session, bytes_t message);
    rib_protoid_td add_protocol(rib_session &session, const std::string &name, const std::vector<uint32_t> &words = {});
    errcode result_of(rib_session &session, const bytes_t &message) { return get32(send(session, message), 0); }
    /* What a lookup finds, "prefix/len state protocol nexthop of paths", or why it finds nothing. */
    std::string found(rib_session &session, const char *addr, uint32_t length = 128, uint32_t flags = 0);

    uint64_t now = 1000;
    bool wakes = true; /* clients, after each message */
    rib_server server;
};
