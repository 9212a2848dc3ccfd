/*
 * Protocols: a routing process registers under a name pair and gets the identifier that its routes carry.
 *
 * Each function is one exchange: it blocks until the server has answered; exchanges on one connection take turns. Every
 * errcode can also be RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION, the channel's
 * errno, EBADMSG (the reply is malformed), or the server's code: RIB_SRV_ERR_NOT_FOUND, EPERM (the protocol belongs to
 * another client), EINVAL, ENOSPC (a limit is reached). An err argument may be NULL unless told otherwise.
 *
 * The words that the server reads in a registration and elsewhere are the server's business; what the reference server
 * makes of them is told in docs/wire.md and, in short, here.
 */
#ifndef IPV6_RIB_PROTOCOL_H
#define IPV6_RIB_PROTOCOL_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/* Longest protocol name and instance name together, in characters. */
#define RIB_PROTO_NAMES_MAX 40
/* Bytes of one name field, and of the protocol and instance name together. */
#define RIB_PROTO_NAME_FIELD 41
#define RIB_PROTO_NAME_PAIR 82

/* reg_word1: what kind of protocol registers. */
#define RIB_PROTO_KIND_ROUTING 0
#define RIB_PROTO_KIND_CONNECTED 1 /* its routes are the subnets of this router's interfaces */
#define RIB_PROTO_KIND_LOCAL 2     /* its routes are this router's own addresses */
#define RIB_PROTO_KIND_STATIC 3
/* reg_word2: administrative distance of the protocol's routes; 0 for the kind's default. */
/* reg_word3: seconds that routes are held after their client died; 0 for the server's default. */
#define RIB_PROTO_HOLD_FOREVER 0xFFFFFFFFu

typedef struct rib_register_protocol_in {
    const char *proto_name;
    const char *instance_name;
    uint32_t word_16; /* not read by registrations; a protocol batch sends its first byte */
    uint32_t reg_word1;
    uint32_t reg_word2;
    uint32_t reg_word3;
    uint32_t reg_word4;
    uint32_t word_36; /* not read */
    uint64_t word_40; /* not read */
    uint64_t reg_word64;
} rib_register_protocol_in;

/**
 * Registers a protocol; a client that returns under the same names gets the same identifier, and its routes, again.
 *
 * @param proto_name, instance_name  together at most 40 characters; required
 * @param reg_word1  kind, RIB_PROTO_KIND_*
 * @param reg_word2  administrative distance
 * @param reg_word3  hold time
 * @param reg_word4  0
 * @param err        receives the code; required
 * @return the identifier, or RIB_PROTOID_NONE; ENAMETOOLONG when the names are too long
 */
IPV6_RIB_API rib_protoid_td ipv6_rib_register_protocol(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                                       uint32_t reg_word1, uint32_t reg_word2, uint32_t reg_word3,
                                                       uint32_t reg_word4, errcode *err);
/** The same from a record, with the further registration value reg_word64. */
IPV6_RIB_API rib_protoid_td ipv6_rib_register_protocol_2(ipv6_rib_conn_p conn, const rib_register_protocol_in *in, errcode *err);

/**
 * Finds a registered protocol by its names, which must not be NULL.
 *
 * @param reg_word1  kind that it must have; 0 for any
 * @return the identifier, or RIB_PROTOID_NONE with RIB_SRV_ERR_NOT_FOUND, ENAMETOOLONG or another code
 */
IPV6_RIB_API rib_protoid_td ipv6_rib_findpdb(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                             uint32_t reg_word1, errcode *err);

/** Replaces the four registration words of a protocol. 1 on success, else 0. */
IPV6_RIB_API int ipv6_rib_modify_protocol(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b,
                                          uint32_t word_c, uint32_t word_d, errcode *err);

/** Ends a registration. @param value  0 to withdraw the protocol's routes, 1 to hold them as if the client had died */
IPV6_RIB_API errcode ipv6_rib_protocol_unregister(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t value);

/**
 * Withdraws routes of a protocol, which stays registered.
 *
 * @param word_a  table, or 0 for all tables
 * @param word_b  1 to withdraw only routes that are held for a client that returned, else 0
 * @param word_c  0
 * @return 0 or -1
 */
IPV6_RIB_API int ipv6_rib_purge_protocol(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t word_a, uint32_t word_b,
                                         uint32_t word_c, errcode *err);

/**
 * Withdraws all that a dead client left behind. A client that still lives is refused with EBUSY.
 *
 * @param client_name  process name, of which 39 characters count; required
 * @param node_name    node name, of which 31 characters count; required
 */
IPV6_RIB_API errcode ipv6_rib_purge_client(ipv6_rib_conn_p conn, const char *client_name, const char *node_name);

/** Tells that the protocol's routes are complete: what it did not send again since it returned is withdrawn. @param value 0 */
IPV6_RIB_API errcode ipv6_rib_update_complete(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t value);

/** Withdraws the protocol's routes of one VRF's table. 0 or -1. */
IPV6_RIB_API int ipv6_rib_clear_aft_by_vrf(ipv6_rib_conn_p conn, rib_protoid_td protoid, uint32_t vrf, errcode *err);

/* First status word of a table. */
#define RIB_TABLE_EXISTS 0x1u
#define RIB_TABLE_COMPLETE 0x2u  /* every registered protocol with routes in it has completed its update */
#define RIB_TABLE_CONVERGED 0x4u /* a convergence marker has been received for it */
/**
 * Reads the status of one table.
 *
 * @param status  receives two uint32_t (8 bytes): the flags above and the number of prefixes; required
 */
IPV6_RIB_API errcode ipv6_rib_get_table_status(ipv6_rib_conn_p conn, rib_tableid_td table, void *status);

/**
 * Names protocols.
 *
 * @param selector  0
 * @param protoids  count identifiers, at most 96 (EINVAL above that)
 * @param names     receives 96 name pairs of 82 bytes (7,872 bytes), whatever count is: protocol name at 0 and instance
 *                  name at 41 of pair i for protoids[i]; all zero for an identifier that is not registered
 */
IPV6_RIB_API errcode ipv6_rib_batch_protoid_to_proto_info(ipv6_rib_conn_p conn, uint32_t selector, const rib_protoid_td *protoids,
                                                          uint16_t count, void *names);

/** Tells the server that this client wants to hear of forwarding-table updates. */
IPV6_RIB_API errcode ipv6_rib_notify_fib_ug_updates(ipv6_rib_conn_p conn);

/** Frees all SRv6 SIDs that a protocol holds. @param value, word_a, word_b  0 */
IPV6_RIB_API errcode ipv6_rib_free_all_srv6_sid_req(ipv6_rib_conn_p conn, uint32_t value, rib_protoid_td protoid, uint32_t word_a,
                                                    uint32_t word_b);

IPV6_RIB_END

#endif
