/*
 * Registering for redistribution in many tables with one message. Each connection has at most one such batch, filled by any
 * thread under the connection's locks: init, any number of registrations, finish; then init again.
 *
 * What modes and flags mean is the server's business, see docs/wire.md for the reference server.
 */
#ifndef IPV6_RIB_REDIST_BATCH_H
#define IPV6_RIB_REDIST_BATCH_H

#include <ipv6_rib/redistribution.h>

IPV6_RIB_BEGIN

typedef uint64_t ip_rib_redist_common_flags;

/* Update modes of the reference server. */
#define RIB_REDIST_BEST 10         /* of each prefix the route that forwards */
#define RIB_REDIST_ALL 18          /* the routes of all protocols */
#define RIB_REDIST_BEST_FOREIGN 20 /* as 10, without this client's own routes */
#define RIB_REDIST_ALL_FOREIGN 21  /* as 18, without this client's own routes */

/* A flag of ipv6_rib_redist_batch_init2(): from now on the connection's batches have the compact ISSU form. */
#define RIB_REDIST_INIT_ISSU 0x2u

/**
 * Opens a batch in the connection's buffer, which the first call allocates; what was collected and not sent is dropped.
 *
 * @param mode   10, 18, 20 or 21; in the ISSU form 10, 20 or 21 (fatal assertions)
 * @param flags  of the opening record; in the ISSU form their low 16 bits are sent
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL); RIB_LIB_ERR_NO_MEMORY. A lock failure is logged, and 0, for all functions here.
 */
IPV6_RIB_API errcode ipv6_rib_redist_batch_init(ipv6_rib_conn_p conn, rib_updatemode mode);
IPV6_RIB_API errcode ipv6_rib_redist_batch_init2(ipv6_rib_conn_p conn, rib_updatemode mode, uint64_t flags);

/**
 * Adds or withdraws interest in a table: 498 registrations fit a batch, 664 in the ISSU form.
 *
 * @param add           0 to withdraw
 * @param table         not 0 (fatal assertion)
 * @param mode          that of the init; not 18 in the ISSU form (fatal assertion)
 * @param proto_flags   sent in mode 10 and, in the ISSU form, of which 16 bits are sent, in every mode but 20 and 21
 * @param common_flags  sent in the others; in the ISSU form 16 bits
 * @param count         receives the number of registrations so far; required
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL, no batch is open, another mode); RIB_LIB_ERR_BATCH_FULL (finish first; also after
 *         a finish and before the next init). Nothing is added then.
 */
IPV6_RIB_API errcode ipv6_rib_redist_batch_register(ipv6_rib_conn_p conn, int add, rib_tableid_td table, rib_updatemode mode,
                                                    ip_rib_proto_redist_flags proto_flags,
                                                    ip_rib_redist_common_flags common_flags, uint16_t *count);
/**
 * Sends the batch. Blocks until the server has answered.
 *
 * @param count  receives the number of registrations sent, on success; required
 * @return 0; RIB_LIB_ERR_BAD_ARG (conn is NULL, no batch is open); RIB_LIB_ERR_BATCH_SEND (it did not reach the server; the
 *         registrations are dropped); the server's word
 */
IPV6_RIB_API errcode ipv6_rib_redist_batch_finish(ipv6_rib_conn_p conn, uint16_t *count);
/** Frees the buffer. NULL, or a connection without one, is ignored. */
IPV6_RIB_API void ipv6_rib_redist_batch_free(ipv6_rib_conn_p conn);

IPV6_RIB_END

#endif
