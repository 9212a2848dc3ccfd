/*
 * The 48 bytes that lead a batch message, and those that lead its reply.
 */
#pragma once

#include <ipv6_rib/batch.h>

#include "ip/rib/wire/request.h"

enum rib_batch_argument_type : uint16_t {
    RIB_BATCH_SINGLE_TABLE = 0,
    RIB_BATCH_MULTI_TABLE = 1, /* a bit */
    RIB_BATCH_PROTOCOLS = 2,
};

struct RIB_PACKED rib_batch_single_td {
    rib_tableid_td bst_table;   // 24 network order always
    rib_protoid_td bst_protoid; // 28 network order always
    uint8_t bst_unused_30[10];  // 30
};
struct RIB_PACKED rib_batch_multi_td {
    uint8_t bmti_unused_24[8]; // 24
    void *bmti_last_tblarg;    // 32 the open table record; NULL in every message that is sent
};
struct RIB_PACKED rib_batch_proto_td {
    uint32_t bpr_count;         // 24 protocol records; network order from the send until the next init
    uint8_t bpr_unused_28[4];   // 28
    rib_batch_buffer *bpr_next; // 32 next buffer of the chain; nothing to the receiver
};

/* Host order in the buffer; network order while a send runs. The message type is never converted. */
struct RIB_PACKED rib_batch_header_td {
    uint32_t bah_type;        //  0 RIB_MSG_BATCH
    uint8_t bah_unused_4[16]; //  4
    uint32_t bah_len;         // 20 bytes of the message, this header included
    union {
        rib_batch_single_td single;
        rib_batch_multi_td bai_multblhdr;
        rib_batch_proto_td proto;
    } bai_opinfo;             // 24
    uint16_t bah_argument;    // 40 rib_batch_argument_type
    uint16_t bah_unused_42;   // 42 converted with it
    uint8_t bah_unused_44[4]; // 44
    using net = rib_net_t<&rib_batch_header_td::bah_len, &rib_batch_header_td::bah_argument, &rib_batch_header_td::bah_unused_42>;
};
static_assert(sizeof(rib_batch_header_td) == 48 && offsetof(rib_batch_header_td, bai_opinfo) == 24);
static_assert(offsetof(rib_batch_header_td, bah_argument) == 40);

/* Reply header. The words of the walk are converted when the walk begins, the rest by the send. */
struct RIB_PACKED rib_batch_reply_header_td {
    uint32_t brh_len;          //  0 bytes of the reply, this header included
    uint32_t brh_refused;      //  4 results that are refusals
    uint32_t brh_count;        //  8 results of tables and routes; of a protocol batch: entries of 60 bytes
    uint16_t brh_markers;      // 12 markers accepted
    uint8_t brh_unused_14[10]; // 14
    int16_t brh_status;        // 24 positive when the message was processed, else a RIB result
    uint16_t brh_argument;     // 26 argument type of the message
    uint8_t brh_unused_28[20]; // 28
    using net = rib_net_t<&rib_batch_reply_header_td::brh_len, &rib_batch_reply_header_td::brh_refused,
                          &rib_batch_reply_header_td::brh_argument>;
    using net_walk = rib_net_t<&rib_batch_reply_header_td::brh_count, &rib_batch_reply_header_td::brh_markers>;
};
static_assert(sizeof(rib_batch_reply_header_td) == 48 && offsetof(rib_batch_reply_header_td, brh_status) == 24);

/* Status of a message that was processed. */
constexpr int16_t RIB_BATCH_PROCESSED = 1;
