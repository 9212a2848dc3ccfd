/*
 * The commands of ribctl. Each prints its findings and returns the exit code; what ends it early it throws (failure.h).
 */
#pragma once

#include "connection.h"
#include "output.h"
#include "path_attributes.h"
#include "route_reader.h"

#include <optional>
#include <string>
#include <vector>

struct load_options {
    std::string file;
    protocol_identity protocol = {.name = "static", .instance = "ribctl"};
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    uint8_t distance = 0; /* 0 for the protocol's */
    bool small = false;   /* messages of at most 63,488 bytes */
    bool verify = false;  /* look every route up afterwards */
};

struct generate_options {
    size_t count = 0;
    uint64_t seed = 1;
    std::string file = "-";
};

struct lookup_options {
    std::string what;
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool exact = false, longer = false;
};

/* One route of a protocol, or one path of it. */
struct change_options {
    std::string prefix, nexthop; /* no next hop: every path */
    protocol_identity protocol = {.name = "static", .instance = "ribctl"};
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    uint32_t interface = 0, metric = 0, tag = 0;
    uint8_t distance = 0;                                                             /* 0 for the protocol's */
    bool replace = false;                                                             /* the path takes the place of all others */
    std::vector<words_t> attributes = std::vector<words_t>(attribute_kinds().size()); /* by kind; empty for none */
};

struct routes_options {
    std::string protocol, range; /* as they were asked for; empty for all */
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool best = false;
    bool plain = false; /* lines as load reads them */
};

struct watch_options {
    std::string protocol; /* as it was asked for; empty for all */
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool best = false;
    bool count = false;          /* numbers instead of changes */
    bool retry = true;           /* wait for a server that is not there */
    bool until_complete = false; /* end when the table has been told */
};

struct address_options {
    std::string addr;
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
};

struct nexthop_options {
    std::vector<std::string> addresses; /* one, or those to watch */
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool one_step = false, no_default = false;
    bool watch = false;
    std::string file; /* of more addresses to watch */
    uint32_t least_length = 0;
    bool once = false; /* end when each has been told */
    bool retry = true; /* wait for a server that is not there */
};

/* A request for a SID. */
struct sid_options {
    std::string format, locator, function, nexthop; /* as they were asked for; no next hop: empty */
    std::optional<uint32_t> opcode;                 /* none: the server's choice */
    uint32_t interface = 0;
    rib_tableid_td lookup_table = 0; /* of the function, 0 for none */
    uint64_t context = 0;
    bool immediate = false; /* what is given back may be given out at once */
    protocol_identity protocol = {.name = "static", .instance = "ribctl"};
};

/* A request for an IID. */
struct iid_options {
    std::string form = "mapped", key, sid, format, value;
    uint32_t iid = 0; /* 0: the server's choice */
    uint64_t context = 0;
    protocol_identity protocol = {.name = "static", .instance = "ribctl"};
};

struct demo_options {
    std::string file; /* empty: a generated table */
    size_t routes = 250'000;
    uint64_t seed = 1;
};

int load_command(const load_options &options, output &out);
int convert_command(const std::string &file, output &out);
int generate_command(const generate_options &options, bool as_json);
int lookup_command(const lookup_options &options, output &out);
int routes_command(const routes_options &options, output &out);
int watch_command(const watch_options &options, output &out);
int explain_command(const std::string &what, rib_tableid_td table, output &out);
int add_command(const change_options &options, output &out);
int del_command(const change_options &options, output &out);
int local_command(const address_options &options, output &out);
int nexthop_command(const nexthop_options &options, output &out);
int follow_next_hops_command(const nexthop_options &options, output &out);
int sid_add_command(const sid_options &options, output &out);
int sid_free_command(const sid_options &options, output &out);
int sid_list_command(output &out);
int iid_add_command(const iid_options &options, output &out);
int iid_free_command(const iid_options &options, output &out);
int iid_list_command(output &out);
int protocols_command(output &out);
int status_command(rib_tableid_td table, output &out);
int demo_command(const demo_options &options, output &out);
