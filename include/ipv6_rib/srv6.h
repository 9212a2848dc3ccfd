/*
 * SRv6 SIDs and IIDs (identifiers that stand for something in a prefix): asking the server for them, giving them back, and
 * turning IIDs into prefixes and back.
 *
 * A request is an attribute of a route of a batch, and one route carries one request. It does nothing to the routes of that
 * prefix: a route without paths is the usual carrier. The result of the route holds the answer (rib_batch_request_answer). What
 * was given out stands as a route of the requesting protocol in the table IPV6_RIB_TABLE_SID or IPV6_RIB_TABLE_IID, where it can
 * be looked up, listed and redistributed like any other, and ends like any other: with the protocol's purge, with the hold time
 * when its client died, and when the update completes without it. Who asks again for what it has gets the same.
 *
 * Nothing here blocks or locks. The requests leave the buffer as it was when they are refused, and require buffer and request
 * (fatal assertions); without an open route they return RIB_BATCH_BUFFER_ERROR.
 */
#ifndef IPV6_RIB_SRV6_H
#define IPV6_RIB_SRV6_H

#include <ipv6_rib/attributes.h>

IPV6_RIB_BEGIN

/* A SID that is asked for. 240 bytes. To the reference server the first 48 bytes and the protocol name the request. */
typedef struct srv6_sid_req_t {
    srv6_end_func_type sr_func; /*   0 endpoint behaviour; neither 0 nor 0xFFFFFFFF */
    uint32_t sr_format;         /*   4 SID format of <platform/srv6.h> */
    uint8_t sr_locator[16];     /*   8 block and node, all other bits zero */
    rib_tableid_td sr_table;    /*  24 in which the function looks up, 0 for none */
    uint32_t sr_interface;      /*  28 to which it sends, 0 for none */
    uint8_t sr_nexthop[16];     /*  32 to which it sends, :: for none */
    uint8_t sr_unused_48[184];  /*  48 */
    uint32_t sr_opcode;         /* 232 value of the function, RIB_SID_OPCODE_ANY for one that the server chooses */
    uint32_t sr_unused_236;     /* 236 */
} srv6_sid_req_t;
#define RIB_SID_OPCODE_ANY 0xFFFFFFFFu /* and so do 0xFFFF and 0xFFFF0000 */

/* What an IID becomes as a prefix. 64 bytes. */
typedef struct ip_rib_iid_ctx_td {
    uint32_t ic_kind;         /*  0 RIB_IID_*; any other value is the mapped form */
    uint8_t ic_unused_4[4];   /*  4 */
    uint64_t ic_lo;           /*  8 explicit form: low 64 bits */
    uint32_t ic_hi;           /* 16 explicit form: high 32 bits */
    uint8_t ic_unused_20[20]; /* 20 */
    uint32_t ic_sid_format;   /* 40 SID form: format of the SID */
    uint8_t ic_unused_44[4];  /* 44 */
    in6_addr_t ic_sid;        /* 48 SID form: a SID, whose block is used */
} ip_rib_iid_ctx_td;
#define RIB_IID_MAPPED 0u   /* ::ffff:0:0/96 and the IID */
#define RIB_IID_SID 2u      /* the block of a SID, the marker ff:fe, and the low 16 bits of the IID */
#define RIB_IID_EXPLICIT 4u /* 0:2::/32 and 96 bits of the caller's; no IID */

/* An IID that is asked for. 152 bytes. To the reference server form, key and protocol name the request. */
typedef struct ip_rib_iid_req_t {
    ip_rib_iid_ctx_td iq_ctx; /*  0 its form */
    uint32_t iq_iid;          /* 64 the IID, 0 for one that the server chooses; not read in the explicit form */
    uint32_t iq_unused_68;    /* 68 */
    uint8_t iq_key[80];       /* 72 what it stands for */
} ip_rib_iid_req_t;

/* Requests as they travel, and as they stand with what was given out. */
typedef struct rib_held_sid {  /* 256 bytes */
    srv6_sid_req_t hs_request; /*   0 */
    uint64_t hs_context;       /* 240 context of the request */
    uint32_t hs_free;          /* 248 1 to give back */
    uint32_t hs_immediate;     /* 252 1 to give back at once */
} rib_held_sid;
typedef struct rib_held_iid {    /* 168 bytes */
    ip_rib_iid_req_t hi_request; /*   0 */
    uint32_t hi_free;            /* 152 1 to give back */
    uint32_t hi_value;           /* 156 of a request to give back */
    uint64_t hi_context;         /* 160 context of the request */
} rib_held_iid;

/* The answer to a request, in ro_answer of the route's result (batch_send.h). 48 bytes, in host order. */
typedef struct rib_batch_request_answer {
    uint8_t an_kind;       /*  0 RIB_ANSWER_*; RIB_ANSWER_NONE for a route without a request */
    uint8_t an_free;       /*  1 1 for a request to free */
    uint8_t an_prefix_len; /*  2 */
    uint8_t an_unused_3;   /*  3 */
    errcode an_code;     /*  4 0; EINVAL (a field is wrong), ENOSPC (none is left), EBUSY (somebody has it), ENOENT (to free: not
                            there) */
    uint64_t an_context; /*  8 context of the request */
    uint8_t an_prefix[16]; /* 16 the SID, or the prefix that stands for the IID */
    uint32_t an_opcode;    /* 32 value of the SID's function */
    uint32_t an_iid;       /* 36 the IID, 0 in the explicit form */
    uint8_t an_unused[8];  /* 40 */
} rib_batch_request_answer;
#define RIB_ANSWER_NONE 0
#define RIB_ANSWER_SID 14
#define RIB_ANSWER_IID 15

/**
 * Asks for a SID. The open route must be ::.
 *
 * @param context  given back with the answer; never dereferenced
 * @return OK; INVALID_OPCODE (neither 1 to 0xFFFE nor the server's choice); INVALID_SID_REQ; NOT_ZERO_PREFIX; ATTR_DUPLICATE;
 *         ATTR_CONFLICT; ERROR (no room)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_srv6_sid_req(rib_batch_buffer *buffer,
                                                                            const srv6_sid_req_t *request, const void *context);
/** Gives back the SID that the same request got, or, with a value for its function, that one. It is the last to be given out
 * again. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_free_srv6_sid_req(rib_batch_buffer *buffer,
                                                                             const srv6_sid_req_t *request, const void *context);
/** The same; it may be given out again at once. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_immediate_free_srv6_sid_req(rib_batch_buffer *buffer,
                                                                                       const srv6_sid_req_t *request,
                                                                                       const void *context);
/**
 * Asks for an IID. The current table must be IPV6_RIB_TABLE_IID or the default unicast table of either family.
 *
 * @return OK; NOT_IID_TABLE; ATTR_DUPLICATE; ATTR_CONFLICT; ERROR (no room)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *request,
                                                                       const void *context);
/** Gives back the IID that the same request got. @param value goes along; the reference server does not read it */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_free_iid_req(rib_batch_buffer *buffer, const ip_rib_iid_req_t *request,
                                                                        uint32_t value, const void *context);
/** Opens the table of IIDs in a buffer for several tables: OK, FULL or ERROR as ipv6_rib_batch_table_init(). */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_iid_table_init(rib_batch_buffer *buffer, rib_protoid_td proto);
/**
 * Table of IIDs, a route ::/0 and a request for an IID, in one call.
 *
 * @return OK; FULL (all is there, send now; or, when the request is missing in what is sent, only the table was opened: send and
 *         call again); what the steps return, which leaves the table, and the route unfinished
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_add_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                                            const ip_rib_iid_req_t *request, const void *context);
/** The same to give it back. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_free_iid_only_req(rib_batch_buffer *buffer, rib_protoid_td proto,
                                                                             const ip_rib_iid_req_t *request, uint32_t value,
                                                                             const void *context);

/** The table of IIDs. */
IPV6_RIB_API rib_tableid_td ipv6_rib_batch_get_iid_tableid(void);
/** Has no effect. 0. */
IPV6_RIB_API errcode ipv6_rib_clear_iid_by_vrfid(uint32_t vrf);

/* A prefix that stands for an IID. 24 bytes. */
typedef struct ip_rib_iid_prefix_td {
    in6_addr_t ip_addr;      /*  0 */
    uint8_t ip_afi;          /* 16 2 */
    uint8_t ip_prefix_len;   /* 17 128 */
    uint8_t ip_unused_18[6]; /* 18 zero */
} ip_rib_iid_prefix_td;
/**
 * The prefix of an IID.
 *
 * @param context  its form; NULL for the mapped form
 * @param prefix   receives the prefix; :: for a SID of an unknown format, and when the block leaves no room for the IID: it has
 *                 112 bits or more. A block that is no multiple of 16 bits loses the bits behind the last one.
 * @return 0; RIB_LIB_ERR_BAD_ARG (prefix is NULL)
 */
IPV6_RIB_API errcode ipv6_rib_iid_get_prefix_from_iid(uint32_t iid, const ip_rib_iid_ctx_td *context,
                                                      ip_rib_iid_prefix_td *prefix);
/**
 * The IID of a prefix: in the SID form if the prefix begins with the block; else in the explicit form if its first four bytes are
 * not zero; else in the mapped form.
 *
 * @param prefix      required, as the two results
 * @param iid         receives the IID; 0 in the explicit form
 * @param block       SID block, :: for none
 * @param base        is added to an IID in the SID form
 * @param sid_format  SID format of the block
 * @param context     receives kind and value in the explicit form; else it is left as it is
 * @return 0
 */
IPV6_RIB_API errcode ipv6_rib_iid_get_iid_from_prefix(const in6_addr_t *prefix, uint32_t *iid, in6_addr_t block, uint32_t base,
                                                      uint32_t sid_format, ip_rib_iid_ctx_td *context);

IPV6_RIB_END

#endif
