/*
 * Next hops: how an address is reached, registration of next hops, and the check of a route.
 *
 * Each function is one exchange: it blocks until the server has answered; exchanges on one connection take turns. Codes in err,
 * which may be NULL: RIB_LIB_ERR_BAD_ARG (conn is NULL), RIB_LIB_ERR_NO_MEMORY, RIB_LIB_ERR_NO_CONNECTION, EBADMSG (the reply
 * is malformed), the channel's errno or the server's code. The meaning of words is the reference server's, see docs/wire.md.
 */
#ifndef IPV6_RIB_NEXT_HOP_H
#define IPV6_RIB_NEXT_HOP_H

#include <ipv6_rib/address.h>
#include <ipv6_rib/types.h>

IPV6_RIB_BEGIN

#define RIB_NEXT_HOP_RECURSIVE 0x0u /* follow next hops up to one that is directly reached */
#define RIB_NEXT_HOP_ONE_STEP 0x1u  /* the next hop as the longest match has it */

/**
 * Finds the next hop towards an address, by longest match, and again for each next hop that names no interface.
 *
 * @param addr        destination; required (fatal assertion)
 * @param nh_word1    RIB_NEXT_HOP_*
 * @param nh_word2    least prefix length of a route that may lead there: 0 for any, 1 leaves the default route out
 * @param nh_word3    0
 * @param next_hop    receives the address; the destination itself when it is on a connected subnet; required (fatal assertion
 *                    on success)
 * @param addr_flags  receives RIB_ADDR_* of the destination; required
 * @return outgoing interface, RIB_INTERFACE_NONE when no route names one; 0 on failure, RIB_SRV_ERR_NOT_FOUND (no route, or its
 *         next hop is not reached) among others
 */
IPV6_RIB_API uint32_t ipv6_rib_next_hop(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr, uint32_t nh_word1,
                                        uint32_t nh_word2, uint32_t nh_word3, in6_addr_t *next_hop, uint32_t *addr_flags,
                                        errcode *err);

#define RIB_NH_NAME_MAX 83
/* How a registered next hop is reached. */
typedef struct rib_nh_info {
    in6_addr_t nh_address;             /* next hop that is directly reached, :: while there is none */
    uint32_t nh_words[4];              /* of the route that leads there: metric, prefix length, distance, protocol identifier */
    uint32_t nh_word;                  /* RIB_NH_* */
    uint8_t nh_name_len;               /* at most 83 */
    char nh_name[RIB_NH_NAME_MAX + 1]; /* protocol of that route, "name/instance"; terminated */
} rib_nh_info;
#define RIB_NH_REACHED 0x1u
#define RIB_NH_CONNECTED 0x2u /* it lies on a connected subnet */

/**
 * Registers a next hop; registering it again replaces the words. The registration ends with the connection.
 *
 * @param addr                          next hop; required (fatal assertion)
 * @param nh_reg_word1 to nh_reg_word3  as nh_word1 to nh_word3 of ipv6_rib_next_hop()
 * @param nh_info                       receives the resolution; may be NULL
 * @return outgoing interface, RIB_INTERFACE_NONE when no route names one, 0 while the next hop is not reached (*err is 0) and on
 *         failure
 */
IPV6_RIB_API uint32_t ipv6_rib_next_hop_register(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                 uint32_t nh_reg_word1, uint32_t nh_reg_word2, uint32_t nh_reg_word3,
                                                 rib_nh_info *nh_info, errcode *err);
/** Ends a registration. 0, or the code, which *err receives too: RIB_SRV_ERR_NOT_FOUND (there is none) ... */
IPV6_RIB_API errcode ipv6_rib_next_hop_unregister(ipv6_rib_conn_p conn, rib_tableid_td table, const in6_addr_t *addr,
                                                  uint32_t nh_reg_word1, uint32_t nh_reg_word2, uint32_t nh_reg_word3,
                                                  errcode *err);

#define RIB_CHECK_REPLY_MIN 40
/**
 * Checks whether the route for an address has changed.
 *
 * @param parent       connection whose datum goes along, or NULL; -1 when it has none
 * @param check_word1  table
 * @param check_word2  prefix length, 128 for an address
 * @param check_long1  version of the route that the caller knows (rt_version); sent as it is
 * @param check_long2  0; sent as it is
 * @param check_word3  0
 * @param check_addr   address or prefix
 * @param addr_out     receives the prefix of the longest match; required (fatal assertion on success)
 * @param check_value  receives 1 when the route is newer than check_long1, else 0; required
 * @param data         receives the data, at most reply_size - 40 bytes: a list of records whose headers are in host order and
 *                     whose values are as received, here the fixed part of the route; required
 * @param reply_size   bytes of the reply, 40 at least
 * @param pair         receives the length of the prefix and the number of routes for it; required
 * @return bytes of data; -1 on any failure, a reply that claims more data than it has among them. Nothing is written then.
 */
IPV6_RIB_API int ipv6_rib_get_check(ipv6_rib_conn_p conn, ipv6_rib_conn_p parent, uint32_t check_word1, uint32_t check_word2,
                                    uint64_t check_long1, uint64_t check_long2, uint32_t check_word3, in6_addr_t check_addr,
                                    in6_addr_t *addr_out, uint32_t *check_value, void *data, uint32_t reply_size,
                                    uint32_t pair[2]);

IPV6_RIB_END

#endif
