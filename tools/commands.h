/*
 * The commands of ribctl. Each prints its findings and returns the exit code; what ends it early it throws (failure.h).
 */
#pragma once

#include "connection.h"
#include "output.h"
#include "route_reader.h"

#include <optional>
#include <string>

struct load_options {
    std::string file;
    protocol_identity protocol = {.name = "static", .instance = "ribctl"};
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool small = false;  /* messages of at most 63,488 bytes */
    bool verify = false; /* look every route up afterwards */
};

struct generate_options {
    size_t count = 0;
    uint64_t seed = 1;
    std::string file = "-";
};

struct lookup_options {
    std::string what;
    rib_tableid_td table = IPV6_RIB_TABLE_DEFAULT;
    bool exact = false;
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
int protocols_command(output &out);
int status_command(rib_tableid_td table, output &out);
int demo_command(const demo_options &options, output &out);
