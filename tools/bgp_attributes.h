/*
 * What a best-path choice needs of the BGP path attributes of a table dump entry (RFC 4271, RFC 4760, RFC 6396).
 */
#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <span>

struct bgp_path {
    uint32_t as_path_len; /* a set counts as one, confederation segments as nothing */
    in6_addr nexthop;
};

/* NULL, or why the attributes give no path. AS numbers are 4 bytes wide, as always in TABLE_DUMP_V2. */
const char *parse_bgp_attributes(std::span<const uint8_t> attributes, bgp_path *path);
