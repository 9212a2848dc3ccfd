/*
 * Requests for SIDs and IIDs for the tests, and what they are answered.
 */
#pragma once

#include <tuple>

#include "tests/server/rig.h"

constexpr rib_tableid_td IIDS = 0xE0803FFF, SIDS = 0xE0803FFE;
constexpr uint32_t ANY = 0xFFFFFFFF;

/* Of SIDs; the interface tells requests apart. Addresses as text. */
struct sid_td {
    uint32_t interface = 0;
    uint32_t opcode = ANY;
    std::string locator = "2001:db8:0:1::";
    uint32_t format = 1;
    uint32_t behaviour = 18;
    uint64_t context = 0;
    uint32_t free = 0;
    uint32_t immediate = 0;
};
/* Of IIDs; the key is a byte. */
struct iid_td {
    uint8_t key = 0;
    uint32_t iid = 0;
    uint32_t kind = 0;
    uint64_t low = 0;
    uint32_t high = 0;
    std::string sid = "::";
    uint32_t format = 0;
    uint32_t free = 0;
};
/* The attribute of a route. */
bytes_t request_attr(const sid_td &sid);
bytes_t request_attr(const iid_td &iid);
/* A batch with a route that carries nothing else. */
bytes_t asks(const auto &one, rib_protoid_td protoid = 0)
{
    return single_batch(TABLE, protoid, {record({.prefix = "::", .len = 0, .attrs = request_attr(one)})});
}

struct answer_td {
    int32_t result; /* of the route */
    uint8_t kind;
    uint8_t free;
    uint32_t code;
    uint64_t context;
    std::string prefix; /* with its length */
    uint32_t number;    /* function or IID */
};
/* To the first route of a batch for one table. */
answer_td answer_of(const bytes_t &reply);
/* "result code prefix number". */
std::string text_of(const answer_td &answer);
