/*
 * Redistribution: which protocols' routes this client wants to hear of.
 *
 * Each function is one exchange: it blocks until the server has answered; exchanges on one connection take turns. Besides the
 * codes told below, every errcode can be RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION,
 * EBADMSG (the reply is malformed), the channel's errno or the server's code. An err argument may be NULL.
 */
#ifndef IPV6_RIB_REDISTRIBUTION_H
#define IPV6_RIB_REDISTRIBUTION_H

#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

/* Flags of a redistribution, carried to the server unchanged. */
typedef uint32_t ip_rib_proto_redist_flags;
/* Update mode of a redistribution, of which the low 16 bits are sent; for those of the reference server see redist_batch.h. */
typedef uint32_t rib_updatemode;

/**
 * Asks for the routes of a protocol in a table. On success the connection's channel keeps the client id that the server
 * returned as its datum, for children to join.
 *
 * @param proto_name, instance_name  the source, at most 40 characters together (RIB_LIB_ERR_BAD_ARG); required
 * @return identifier of the source protocol; RIB_PROTOID_NONE on failure: RIB_SRV_ERR_NOT_FOUND (no such protocol) ...
 */
IPV6_RIB_API rib_protoid_td ipv6_rib_protocol_redist(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                                     rib_tableid_td table, ip_rib_proto_redist_flags proto_flags,
                                                     rib_updatemode mode, errcode *err);
/**
 * The same for a further connection of a process, which joins the redistribution of a first one.
 *
 * @param redist_flag  sent as 1 unless it is 0
 * @param parent       the first connection; NULL for none. EINVAL when its datum cannot be read. The reference server refuses
 *                     with EPERM a parent that has not asked for redistribution itself or is of another process
 * @param child_arg    any number; the reference server keeps it and does not read it
 */
IPV6_RIB_API rib_protoid_td ipv6_rib_child_protocol_redist(ipv6_rib_conn_p conn, const char *proto_name,
                                                           const char *instance_name, rib_tableid_td table, uint32_t redist_flag,
                                                           rib_updatemode mode, ipv6_rib_conn_p parent, int child_arg,
                                                           errcode *err);

/**
 * Asks for the markers of a protocol's redistribution.
 *
 * @param proto_name     NULL, with instance_name, for every redistribution of this client in the table
 * @param instance_name  NULL for none; the two have at most 40 characters together (RIB_LIB_ERR_BAD_ARG)
 * @return 0; RIB_SRV_ERR_NOT_FOUND when this client asked for no such redistribution
 */
IPV6_RIB_API errcode ipv6_rib_redist_enable_rcmd_markers(ipv6_rib_conn_p conn, const char *proto_name, const char *instance_name,
                                                         rib_tableid_td table);

/** Ends the redistributions of this client. @param reset_value  table, or 0 for all of them. 1 on success, else 0. */
IPV6_RIB_API int ipv6_rib_redist_reset(ipv6_rib_conn_p conn, uint32_t reset_value, errcode *err);

/**
 * Asks where the default route of a table leads.
 *
 * @param netsource_value  table
 * @return outgoing interface, RIB_INTERFACE_NONE when no route names one; 0 on failure: RIB_SRV_ERR_NOT_FOUND (no default
 *         route, or its next hop is not reached) ...
 */
IPV6_RIB_API uint32_t ipv6_rib_default_netsource(ipv6_rib_conn_p conn, uint32_t netsource_value, errcode *err);

IPV6_RIB_END

#endif
