/*
 * Updates for the tests: messages that ask for them, and what the replies tell, read by byte positions.
 */
#pragma once

#include <map>
#include <set>
#include <tuple>

#include "tests/server/rig.h"

constexpr uint16_t BEST = 10, ALL = 18, BEST_FOREIGN = 20, ALL_FOREIGN = 21;
constexpr rib_protoid_td NONE = 0xFFFF;

/* A registration of many tables; an operation of 0 stands for the one that adds in the mode, 1 for the one that removes. */
struct registration_td {
    rib_tableid_td table = TABLE;
    uint32_t removes = 0;
    uint64_t flags = 0;
};
bytes_t registrations(uint16_t mode, const std::vector<registration_td> &list, bool issu = false);
/* Asks for a source; names as "protocol" or "protocol/instance". */
bytes_t redist(const std::string &names, rib_tableid_td table = TABLE, uint32_t mode = ALL, uint32_t parent = NONE,
               uint32_t command = 12);

/* A record of a next-hop batch, and the message. */
struct hop_td {
    uint32_t op;
    std::string addr = "::";
    uint32_t value = 0;
    rib_tableid_td table = TABLE;
    uint32_t len = 0;
};
bytes_t next_hops(const std::vector<hop_td> &hops);
/* The word that answers a batch, in the byte order of the host. */
inline errcode word_of(const bytes_t &reply)
{
    return reply.size() == 4 ? rib_load<errcode>(reply.data()) : UINT32_MAX;
}
inline const bytes_t FETCH = request(25, bytes_t(256), 0);

/* One message of a reply. */
struct message_td {
    uint32_t word;
    uint16_t type;
    bytes_t payload;
};
struct fetched_td {
    uint16_t flags;
    std::vector<message_td> messages;
};
/* Throws when lengths do not fit. */
fetched_td fetched(const bytes_t &reply, uint32_t format = 0);
/* The routes of a message, each with all its records. */
std::vector<bytes_t> routes_of(const bytes_t &payload);

/*
 * All messages as text: "2001:db8::/32 of 1" for a route, "- ::/0 of 1" for one that is withdrawn, "end of 65535, all" for a
 * dump, "marker 1 of 0", "came 0 bgp", "went 0 bgp", "hop 7 via fe80::1/64 of 1" or "hop 7 lost" for the next hop of
 * value 7, "all told"; "; " between them, and flags at the end when they are not 0.
 */
std::string told(const bytes_t &reply, uint32_t format = 0);
