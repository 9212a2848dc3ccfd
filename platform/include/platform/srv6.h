/*
 * SRv6: which functions and SID formats there are, and what belongs to a SID list before it travels.
 *
 * Endpoint behaviours have the code points of the public registry of SRv6 endpoint behaviours, those of RFC 8986 and RFC 9800:
 *
 *                    plain        with USD     NEXT-CSID  REPLACE-CSID  with USD
 *   End              1 to 4       28 to 31     43 to 50   101 to 104    128 to 131   (none, PSP, USP, PSP and USP)
 *   End.X            5 to 8       32 to 35     52 to 59   105 to 108    132 to 135   (the same)
 *   End.T            9 to 12      36 to 39     85 to 92   109 to 112    136 to 139   (the same)
 *   End.B6.Encaps    14, Red: 27               93, 94     114, 127
 *   End.BM           15                        95         115
 *   End.DX6, DX4     16, 17                    60, 61     116, 117
 *   End.DT6, 4, 46   18, 19, 20                62 to 64   118 to 120
 *   End.DX2, DX2V    21, 22                    65, 66     121, 122
 *   End.DT2U, DT2M   23, 24                    67, 68     123, 124
 *
 * Headend behaviours have no registry; here they count 1 H.Encaps, 2 H.Encaps.Red, 3 H.Encaps.L2, 4 H.Encaps.L2.Red.
 *
 * A SID begins with a locator, which is a block and a node, and goes on with a function and an argument. Formats:
 *
 *   id  name         block  node  function  argument  IID
 *    1  full-40-24      40    24        16         0   16   one SID in an address
 *    2  csid-32-16      32    16        16         0   16   compressed SIDs of 16 bits behind a block of 32
 *    3  csid-48-16      48    16        16         0   16   and behind a block of 48
 *    4  csid-32-32      32    16        16         0   32   compressed SIDs of 32 bits
 */
#ifndef PLATFORM_SRV6_H
#define PLATFORM_SRV6_H

#include <netinet/in.h>
#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

typedef uint32_t srv6_end_func_type;
typedef uint32_t srv6_transit_func_type;

#define SRV6_END 1u
#define SRV6_END_X 5u
#define SRV6_END_DT6 18u
#define SRV6_END_DT46 20u
#define SRV6_H_ENCAPS 1u
#define SRV6_H_ENCAPS_RED 2u

/** 1 for the code point of an endpoint behaviour, else 0. */
PLATFORM_API int srv6_end_func_type_is_valid(srv6_end_func_type type);
/** 1 for a headend behaviour, else 0. */
PLATFORM_API int srv6_transit_func_type_is_valid(srv6_transit_func_type type);

#define SRV6_SID_FORMAT_FULL_40_24 1u
#define SRV6_SID_FORMAT_CSID_32_16 2u
#define SRV6_SID_FORMAT_CSID_48_16 3u
#define SRV6_SID_FORMAT_CSID_32_32 4u

/* A SID format; lengths in bits. 120 bytes. */
typedef struct srv6_sid_fmt_info {
    uint32_t sf_id;         /*   0 */
    char sf_name[100];      /*   4 terminated */
    uint8_t sf_locator_len; /* 104 block and node */
    uint8_t sf_block_len;   /* 105 */
    uint8_t sf_node_len;    /* 106 */
    uint8_t sf_iid_len;     /* 107 of the identifier in a prefix made of the block: 16 or 32 */
    uint8_t sf_func_len;    /* 108 */
    uint8_t sf_arg_len;     /* 109 */
    uint8_t sf_unused[10];  /* 110 */
} srv6_sid_fmt_info_t;

/** Describes a format: 0, or ENOENT with nothing written. */
PLATFORM_API int srv6_sid_fmt_get_info(uint32_t format, srv6_sid_fmt_info_t *info);

/* The block of a SID. 24 bytes. */
typedef struct srv6_sid_block {
    struct in6_addr sb_block; /*  0 the bits behind it are zero */
    uint32_t sb_block_len;    /* 16 bits */
    uint32_t sb_node;         /* 20 the node, its last bit lowest */
} srv6_sid_block_t;
/** Takes the block out of a SID of a format: 0, or ENOENT with nothing written. */
PLATFORM_API int srv6_pltf_util_extract_sid_block_iid(uint32_t format, const struct in6_addr *sid, srv6_sid_block_t *block);

/** 1 when a SID may be asked for with that function value: 1 to 0xFFFE; else 0. */
PLATFORM_API int rib_srv6_is_valid_explicit_opcode(uint32_t opcode);

#define SRV6_SID_LIST_MAX 24

/* A SID of a list. What travels is bytes 8 to 39. */
typedef struct srv6_sid_info {
    uint32_t si_format;         /*  0 SID format, 0 when the lengths below are given */
    uint8_t si_unused_4[4];     /*  4 */
    srv6_end_func_type si_func; /*  8 endpoint behaviour, 0 when it is not known */
    uint32_t si_len;            /* 12 bits of the SID that count; filled in */
    struct in6_addr si_sid;     /* 16 */
    uint8_t si_block_len;       /* 32 structure of the SID in bits, all 0 when it is not known; filled in from the format */
    uint8_t si_node_len;        /* 33 */
    uint8_t si_func_len;        /* 34 */
    uint8_t si_arg_len;         /* 35 */
    uint8_t si_unused_36[12];   /* 36 */
} srv6_sid_info_t;

typedef struct srv6_sid_list {
    uint8_t sl_count;                          /* 0 SIDs that follow */
    uint8_t sl_unused_1[3];                    /* 1 */
    srv6_transit_func_type sl_func;            /* 4 headend behaviour */
    srv6_sid_info_t sl_sid[SRV6_SID_LIST_MAX]; /* 8 the first one is visited first */
} srv6_sid_list_t;

/** Fills in the structure of each SID that names a format and has none: 0, or ENOENT (unknown format; SIDs ahead are filled). */
PLATFORM_API int rib_srv6_update_sid_info_list_interop(srv6_sid_list_t *list);
/**
 * Fills in the length of each SID: the sum of its structure, 128 without one.
 * @return 1; -1 for a SID that is ::, or whose structure takes more than 128 bits (SIDs ahead are filled)
 */
PLATFORM_API int rib_srv6_validate_and_fill_sid_len(srv6_sid_list_t *list);

PLATFORM_END

#endif
