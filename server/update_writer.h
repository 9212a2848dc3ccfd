/*
 * Messages of updates, framed in one of two formats, written behind one another where the reply stands.
 */
#pragma once

#include "ip/rib/wire/next_hop_batch.h"
#include "server/attribute_reply.h"
#include "server/consumer.h"
#include "server/protocols.h"

/* No update is longer, with the header of a message of its own, but for the attributes of paths. */
constexpr size_t RIB_UPDATE_MAX = 13'676 + RIB_ROUTE_ATTRS_MAX;

class rib_update_writer
{
public:
    rib_update_writer(uint8_t *area, uint32_t format) : format_(format), cursor_(area) {}

    const uint8_t *cursor() const { return cursor_; }
    /* A route that is longer than a message may be is told without its attributes. */
    void route(rib_tableid_td table, const rib_table::entry_td &entry, const rib_route &route, const rib_protocol &owner);
    /* RIB_PROTOID_NONE stands for the best route, whoever had it. */
    void withdrawn(rib_tableid_td table, const rib_prefix &prefix, rib_protoid_td protoid);
    void dump_end(const rib_interest &interest, bool last);
    void marker(rib_tableid_td table, rib_protoid_td protoid, uint32_t marker);
    void protocol(uint16_t operation, rib_protoid_td protoid, const rib_gone_protocol &about);
    void next_hop(const rib_nh_told_td &told);
    void next_hops_told(rib_tableid_td table);
    /* Ends the last message. */
    void close();

private:
    void open(uint16_t type, rib_tableid_td word);
    void go_on(uint16_t type, rib_tableid_td word, size_t len);
    template <class value_td> void single(uint16_t type, rib_tableid_td word, value_td value);

    uint32_t format_; /* 0, or 1 for all others */
    uint8_t *cursor_;
    uint8_t *message_ = nullptr; /* the open one */
    uint16_t type_ = 0;
    rib_tableid_td word_ = 0;
};
