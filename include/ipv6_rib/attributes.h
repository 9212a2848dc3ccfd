/*
 * Attributes of routes and paths in a batch buffer (batch_route.h).
 *
 * A route's are set between ipv6_rib_batch_buffer_init_route() and ipv6_rib_batch_buffer_add_route3(); a path's between
 * ipv6_rib_batch_buffer_add_path_init() or ipv6_rib_batch_buffer_del_path_init() and the matching done. Each may be set once.
 * Values are copied, in host order as they are; what the library does not say about them here is the server's business, and the
 * reference server gives them back with the route (docs/wire.md).
 *
 * Nothing here blocks or locks. A result other than RIB_BATCH_BUFFER_OK leaves the records as they were. RIB_BATCH_BUFFER_ERROR
 * is what a setter returns when nothing of its kind is open, the attribute is there already, the buffer has no room for it, a
 * required pointer is NULL, or, for a path, a trailing block was set before; further results are told with the setters.
 */
#ifndef IPV6_RIB_ATTRIBUTES_H
#define IPV6_RIB_ATTRIBUTES_H

#include <ipv6_rib/batch_route.h>

IPV6_RIB_BEGIN

/* SID list of <platform/srv6.h>, and its types of functions. */
struct srv6_sid_list;
typedef uint32_t srv6_end_func_type;

/*
 * Attributes of a route. An algorithm, a set of labels by algorithm, an SRv6 SID request and an IID request (srv6.h) exclude one
 * another: RIB_BATCH_BUFFER_ATTR_CONFLICT, or RIB_BATCH_BUFFER_ATTR_DUPLICATE for the same again. Layer-2 information may stand
 * beside an IID request only when it was set first, beside the others only when it is set last.
 */
typedef struct ip_rib_route_algo_td {
    uint32_t ra_algo; /* flexible algorithm */
} ip_rib_route_algo_td;

/* Local labels of a route by algorithm. */
#define RIB_ALGO_LABELS_MAX 256
typedef struct ip_rib_algo_label_td {
    uint8_t al_unused_0[3]; /* 0 */
    uint8_t al_algo;        /* 3 algorithm */
    uint32_t al_index;      /* 4 tells entries of one algorithm apart */
    uint32_t al_label;      /* 8 */
} ip_rib_algo_label_td;
typedef struct ip_rib_algo_label_set_td {
    uint8_t als_unused_0[2];                             /* 0 */
    uint16_t als_count;                                  /* 2 entries */
    ip_rib_algo_label_td als_entry[RIB_ALGO_LABELS_MAX]; /* 4 */
} ip_rib_algo_label_set_td;

typedef struct ip_rib_route_l2_info_td {
    uint8_t rl2_info;
} ip_rib_route_l2_info_td;

/* Identifies a forwarding table of another kind. 24 bytes. */
typedef struct ip_rib_route_aft_id_td {
    uint8_t raf_name[16]; /*  0 */
    uint64_t raf_id;      /* 16 */
} ip_rib_route_aft_id_td;

/** Endpoint behaviour of a SID that the route is for; ERROR for one that is none, before anything else is looked at. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_srv6_end_func_type(rib_batch_buffer *buffer,
                                                                                        srv6_end_func_type type);
/** Algorithm. Both required (fatal assertions). ATTR_CONFLICT, ATTR_DUPLICATE. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_algo(rib_batch_buffer *buffer,
                                                                          const ip_rib_route_algo_td *algo);
/** Labels by algorithm, of which only als_count entries are read; sorted in place. OK, and nothing set, without entries;
 * TOO_MANY_ALGO_LABELS, ATTR_CONFLICT, ATTR_DUPLICATE. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_algo_label_set(rib_batch_buffer *buffer,
                                                                                    ip_rib_algo_label_set_td *set);
/** Layer-2 information. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_l2_info(rib_batch_buffer *buffer,
                                                                             const ip_rib_route_l2_info_td *info);
/** Forwarding table. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_route_set_aft_id(rib_batch_buffer *buffer,
                                                                            const ip_rib_route_aft_id_td *aft);

/*
 * Attributes of an added path.
 */
/* Extended communities, 8 bytes each. */
#define RIB_ECOMMS_MAX 8
typedef struct ip_rib_ecomms_array_td {
    uint16_t ec_count;                  /* 0 */
    uint16_t ec_word;                   /* 2 carried */
    uint8_t ec_item[RIB_ECOMMS_MAX][8]; /* 4 */
} ip_rib_ecomms_array_td;

/* Next hops behind the next hop. */
#define RIB_NNH_MAX 512
typedef struct ip_rib_nnh_td {
    uint8_t nn_kind;        /* 0 */
    uint8_t nn_unused_1[3]; /* 1 carried */
    uint32_t nn_value;      /* 4 */
} ip_rib_nnh_td;
typedef struct ip_rib_nnh_set_td {
    uint16_t nns_count;                 /* 0 */
    uint8_t nns_unused_2[2];            /* 2 */
    ip_rib_nnh_td nns_nnh[RIB_NNH_MAX]; /* 4 */
} ip_rib_nnh_set_td;

/* IP tunnel. 24 bytes. */
typedef struct ip_rib_tunnel_info_td {
    uint16_t ti_flags;     /*  0 RIB_TUNNEL_*, and others of the server */
    uint16_t ti_type;      /*  2 */
    uint32_t ti_local_id;  /*  4 network identifier, its low 24 bits */
    uint32_t ti_remote_id; /*  8 */
    uint8_t ti_rest[12];   /* 12 */
} ip_rib_tunnel_info_td;
#define RIB_TUNNEL_LOCAL_ID 0x2u  /* ti_local_id is there */
#define RIB_TUNNEL_REMOTE_ID 0x4u /* ti_remote_id is there; with both, they must be the same */

/* Segment list. 8 bytes. */
typedef struct ip_rib_sl_id_info_td {
    uint8_t sli_kind;      /* 0 1 or 2 */
    uint8_t sli_unused[3]; /* 1 carried */
    uint32_t sli_id;       /* 4 */
} ip_rib_sl_id_info_td;

/** Binding label. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_binding_label(rib_batch_buffer *buffer, uint32_t label);
/**
 * Labels to be pushed, the topmost first; may be set again, and behind a trailing block.
 * @param num_labels  1 to 10 (fatal assertion, as a NULL buffer)
 * @return OK, also without a current route, when nothing is set; ERROR
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_remote_label_stack(rib_batch_buffer *buffer,
                                                                                       uint32_t num_labels,
                                                                                       const uint32_t *labels);
/** Extended communities. OK, and nothing set, for NULL or none; TOO_MANY_ITEMS. Only ec_count items are read. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_ecomms_array(rib_batch_buffer *buffer, const void *ecomms);
/** Next-next-hops, of which only nns_count are read; sorted in place, also when the call is refused later. OK, and nothing set,
 * for none; TOO_MANY_NNH. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_nnh_set(rib_batch_buffer *buffer, ip_rib_nnh_set_td *set);
/** Interface beside the outgoing one; INVALID_INTF for 0. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_intf_index(rib_batch_buffer *buffer, uint32_t intf_index);
/** Layer-2 information, 16 bytes. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_l2_info(rib_batch_buffer *buffer, const void *info);
/** SID through which the path leads, of sid_len bits: 1 to 128 in its low 8 bits, else ERROR. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_via_srv6_sid(rib_batch_buffer *buffer, const in6_addr_t *sid,
                                                                                 int sid_len);
/** Group of paths. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_grouping_id(rib_batch_buffer *buffer, uint32_t grouping_id);
/** IP tunnel; INVALID_TUNNEL when both identifiers are there and differ. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_ip_tunnel_info(rib_batch_buffer *buffer,
                                                                                   const ip_rib_tunnel_info_td *tunnel);
/** Forwarding table through which the path leads, 24 bytes as ip_rib_route_aft_id_td. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_via_aft_id(rib_batch_buffer *buffer, const void *aft);
/** Segment list; INVALID_SL_ID for another kind. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_sl_id_info(rib_batch_buffer *buffer,
                                                                               const ip_rib_sl_id_info_td *info);
/**
 * SIDs to be imposed; their structure and lengths are filled in. A refusal is logged, but for SID_INTEROP_FAILED.
 * @return OK; ERROR; TOO_MANY_SIDS (more than 24); INVALID_TRANSIT_FUNC (no headend behaviour); SID_INTEROP_FAILED (a format that
 *         does not exist)
 */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_srv6_sid_list(rib_batch_buffer *buffer,
                                                                                  struct srv6_sid_list *list);

/*
 * Trailing blocks of an added path. They are set in this order and each at most once, behind all other attributes but the remote
 * labels; ERROR otherwise.
 */
/** Multicast VPN, 24 bytes. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_mvpn_attr(rib_batch_buffer *buffer, const void *value);
/** Route target of the path; 8 bytes, as all that follow. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_path_rt_attr(rib_batch_buffer *buffer, const void *value);
/** Route target by which a VRF imports. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_vrf_import_rt_attr(rib_batch_buffer *buffer,
                                                                                       const void *value);
/** Route target of the source's AS. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_source_as_rt_attr(rib_batch_buffer *buffer,
                                                                                      const void *value);
/** Route distinguisher of the source. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_source_rd_attr(rib_batch_buffer *buffer, const void *value);
/** Segmented next hop. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_seg_nh_attr(rib_batch_buffer *buffer, const void *value);

/*
 * Attributes of a path withdrawal; the reference server does not read them.
 */
/** A number of the server's. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_set_reflect(rib_batch_buffer *buffer, uint32_t value);
/** Paths that the withdrawn backup path protected, a bit each. @param bitmap not 0 (fatal assertion) */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_backup_delete_protected_bitmap(rib_batch_buffer *buffer,
                                                                                          uint64_t bitmap);
/** SIDs, as for an added path. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_del_srv6_sid_list(rib_batch_buffer *buffer,
                                                                                  struct srv6_sid_list *list);
/** Forwarding table, as for an added path. */
IPV6_RIB_API rib_batch_buffer_result ipv6_rib_batch_buffer_path_del_via_aft_id(rib_batch_buffer *buffer, const void *aft);

/*
 * How the reference server gives attributes back.
 *
 * Those of a route: values behind the pointers of its record (route.h), each beginning with a zero word and a count of 16 bits.
 * Behind that stand, in rt_attr_6 one forwarding table (ip_rib_route_aft_id_td and a zero word); in rt_attr_8
 * ip_rib_algo_label_td entries; in rt_attr_9 and rt_attr_10, in the tables of SIDs and IIDs, the request (rib_held_sid,
 * rib_held_iid of srv6.h); in rt_attr_11 ip_rib_route_l2_info_td; in rt_attr_15 ip_rib_route_algo_td.
 *
 * Those of a path: records of these types behind that of the path, up to a delimiter. They are there until
 * ipv6_rib_route_xform() has moved the paths together: in what the _internal() lookups and the walk over a listing give. Their
 * headers are in host order for rib_tlv_fetch() of <platform/rib_tlv.h>, their values as they were set.
 */
#define RIB_PATH_ATTR_LABELS 12        /* uint32_t each, when there is more than one */
#define RIB_PATH_ATTR_BINDING_LABEL 13 /* uint32_t */
#define RIB_PATH_ATTR_ECOMMS 17        /* as ip_rib_ecomms_array_td, ec_count items */
#define RIB_PATH_ATTR_NNH 18           /* as ip_rib_nnh_set_td, nns_count next-next-hops */
#define RIB_PATH_ATTR_INTF 20          /* uint32_t */
#define RIB_PATH_ATTR_SID_LIST 21      /* 8-bit count; at 4 headend behaviour; at 16 bytes 8 to 39 of each srv6_sid_info_t */
#define RIB_PATH_ATTR_L2_INFO 22       /* 16 bytes */
#define RIB_PATH_ATTR_VIA_SID 23       /* SID, its length at 16; 24 bytes */
#define RIB_PATH_ATTR_GROUPING 26      /* uint32_t */
#define RIB_PATH_ATTR_TUNNEL 28        /* ip_rib_tunnel_info_td */
#define RIB_PATH_ATTR_VIA_AFT 39       /* 24 bytes */
#define RIB_PATH_ATTR_SL_ID 43         /* ip_rib_sl_id_info_td */
#define RIB_PATH_ATTR_MVPN 100         /* 24 bytes */
#define RIB_PATH_ATTR_PATH_RT 101      /* 8 bytes, as all that follow */
#define RIB_PATH_ATTR_VRF_IMPORT_RT 102
#define RIB_PATH_ATTR_SOURCE_AS_RT 103
#define RIB_PATH_ATTR_SOURCE_RD 105
#define RIB_PATH_ATTR_SEG_NH 106
#define RIB_PATH_ATTR_BITMAP                                                                                                     \
    109 /* 64 bytes: the paths that a backup path protects, a bit each, the lowest of the first byte first */

/**
 * Sorts an ip_rib_nnh_set_td in place: those of kind 2 by rising value, those of kind 1, all others. Equal ones have no defined
 * order. 0, or RIB_LIB_ERR_BAD_ARG for NULL.
 */
IPV6_RIB_API errcode rib_sort_path_attr_type_nnh_set(void *set);
/** Sorts an ip_rib_algo_label_set_td in the same way: by algorithm, then by index. */
IPV6_RIB_API errcode rib_sort_algo_label_set(void *set);

IPV6_RIB_END

#endif
