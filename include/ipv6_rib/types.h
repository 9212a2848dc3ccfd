/*
 * Types that every family of functions shares.
 *
 * Unless a function says otherwise: any thread may call it, numbers are in host byte order, addresses are 16 bytes as in
 * struct in6_addr, texts are zero-terminated, and nothing that is passed in is kept after the call.
 */
#ifndef IPV6_RIB_TYPES_H
#define IPV6_RIB_TYPES_H

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>

#define IPV6_RIB_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define IPV6_RIB_BEGIN extern "C" {
#define IPV6_RIB_END }
#else
#define IPV6_RIB_BEGIN
#define IPV6_RIB_END
#endif

/* Status of an operation, see errors.h; 0 is success. */
typedef uint32_t errcode;

/* One connection to the server. Made by a bind, freed by ipv6_rib_unbind(); its inside is the library's. */
typedef struct rib_client_struct *ip_rib_conn_p;
typedef ip_rib_conn_p ipv6_rib_conn_p;

/* Protocol identifier that the server assigns at registration, 0 to 95. */
typedef uint16_t rib_protoid_td;
#define RIB_PROTOID_NONE ((rib_protoid_td)0xFFFF)
#define RIB_PROTOID_COUNT 96

/* Table identifier. */
typedef uint32_t rib_tableid_td;
#define IPV6_RIB_TABLE_DEFAULT ((rib_tableid_td)0xE0800000) /* the unicast table that every router has */
#define IPV6_RIB_TABLE_IID ((rib_tableid_td)0xE0803FFF)     /* IIDs that were given out, see srv6.h */
#define IPV6_RIB_TABLE_SID ((rib_tableid_td)0xE0803FFE)     /* SRv6 SIDs that were given out */

typedef struct in6_addr in6_addr_t;

/* The label value that means no label: one above the largest 20-bit label. */
#define RIB_LABEL_NONE 0x100001u

#endif
