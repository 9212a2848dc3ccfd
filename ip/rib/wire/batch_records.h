/*
 * Records of a batch message. They are packed back to back, each beginning with its type; a route is followed by as many
 * path records as it says. Built in host order, converted once, when closed.
 */
#pragma once

#include <ipv6_rib/batch_route.h>

#include "ip/rib/wire/batch_header.h"

enum rib_batch_record_type : uint8_t {
    RIB_BATCH_REC_ROUTE = 1,
    RIB_BATCH_REC_ADD_PATH = 1, /* behind a route */
    RIB_BATCH_REC_DEL_PATH = 2, /* behind a route */
    RIB_BATCH_REC_COMPLETE = 3,
    RIB_BATCH_REC_CONVERGE = 4,
    RIB_BATCH_REC_TABLE = 6,
    RIB_BATCH_REC_PROTO = 7,
};

/* Opens one table; its routes follow. Closed, and only then converted, by the next table or the send. */
struct RIB_PACKED rib_batch_table_rec_td {
    uint8_t bti_type;           //  0 RIB_BATCH_REC_TABLE
    uint8_t bti_unused_1;       //  1
    rib_protoid_td bti_protoid; //  2
    uint32_t bti_len;           //  4 while open: data offset behind this record; closed: bytes that follow it
    rib_tableid_td bti_table;   //  8
    using net =
        rib_net_t<&rib_batch_table_rec_td::bti_protoid, &rib_batch_table_rec_td::bti_len, &rib_batch_table_rec_td::bti_table>;
};
static_assert(sizeof(rib_batch_table_rec_td) == 12 && offsetof(rib_batch_table_rec_td, bti_len) == 4);

struct RIB_PACKED rib_batch_complete_rec_td {
    uint8_t bcm_type;        // 0 RIB_BATCH_REC_COMPLETE
    uint8_t bcm_unused_1[3]; // 1
};
static_assert(sizeof(rib_batch_complete_rec_td) == 4);

struct RIB_PACKED rib_batch_converge_rec_td {
    uint8_t bcv_type;        // 0 RIB_BATCH_REC_CONVERGE
    uint8_t bcv_unused_1[3]; // 1
    uint32_t bcv_a;          // 4
    uint32_t bcv_b;          // 8
    using net = rib_net_t<&rib_batch_converge_rec_td::bcv_a, &rib_batch_converge_rec_td::bcv_b>;
};
static_assert(sizeof(rib_batch_converge_rec_td) == 12);

enum rib_batch_proto_operation : uint8_t { RIB_BATCH_PROTO_ADD = 1, RIB_BATCH_PROTO_DEL = 2 };
constexpr size_t RIB_BATCH_INSTANCE_NAME = 39;

struct RIB_PACKED rib_batch_proto_rec_td {
    uint8_t bpi_type;                           //  0 RIB_BATCH_REC_PROTO
    uint8_t bpi_operation;                      //  1 rib_batch_proto_operation
    uint8_t bpi_u8_2;                           //  2
    char bpi_instance[RIB_BATCH_INSTANCE_NAME]; //  3
    uint8_t bpi_unused_42[2];                   // 42
    uint32_t bpi_word1;                         // 44 add: reg_word1; delete: the caller's value
    rib_protoid_td bpi_protoid;                 // 48 delete only
    uint8_t bpi_unused_50[2];                   // 50
    uint32_t bpi_words[3];                      // 52 reg_word2 to reg_word4
    uint64_t bpi_word64;                        // 64
    using net = rib_net_t<&rib_batch_proto_rec_td::bpi_word1, &rib_batch_proto_rec_td::bpi_protoid,
                          &rib_batch_proto_rec_td::bpi_words, &rib_batch_proto_rec_td::bpi_word64>;
};
static_assert(sizeof(rib_batch_proto_rec_td) == 72 && offsetof(rib_batch_proto_rec_td, bpi_word64) == 64);

/* Attributes of a route or path: this header, then entries back to back. */
struct RIB_PACKED ip_rib_attr_set_array_td {
    uint16_t asa_len;      // 0 bytes of the entries
    uint16_t asa_unused_2; // 2
    using net = rib_net_t<&ip_rib_attr_set_array_td::asa_len, &ip_rib_attr_set_array_td::asa_unused_2>;
};
static_assert(sizeof(ip_rib_attr_set_array_td) == 4);

/* Header of an entry. The server reads entries in host order, so they are not converted. */
struct RIB_PACKED rib_attr_entry_td {
    uint8_t ae_type;     // 0 rib_attr_type_t
    uint8_t ae_unused_1; // 1
    uint16_t ae_len;     // 2 bytes of the value
};
static_assert(sizeof(rib_attr_entry_td) == 4);

/* borfi_flags and borfi_flags64 of a route that has no primary path among those that follow it. */
constexpr uint32_t RIB_ROUTE_NO_PRIMARY = 0x8000;
constexpr uint64_t RIB_ROUTE_NO_PRIMARY64 = 0x80;
constexpr uint8_t RIB_ROUTE_CODE = 14;
/* borfi_bits: the caller's flag as it is built, and as it travels in big-endian bit-field order. */
constexpr uint8_t RIB_ROUTE_BIT_FLAG = 0x80;
constexpr uint8_t RIB_ROUTE_BIT_FLAG_NET = 0x01;

struct RIB_PACKED bori_fixed {
    uint8_t borfi_type;                   //  0 RIB_BATCH_REC_ROUTE
    uint8_t borfi_prefixlen;              //  1
    uint8_t borfi_code;                   //  2 RIB_ROUTE_CODE
    uint8_t borfi_unused_3;               //  3
    uint16_t borfi_path_count;            //  4
    uint16_t borfi_u16_6;                 //  6
    uint32_t borfi_flags;                 //  8
    uint32_t borfi_u32_12;                // 12
    uint32_t borfi_u32_16;                // 16
    uint32_t borfi_u32_20;                // 20 RIB_LABEL_NONE
    uint64_t borfi_flags64;               // 24
    uint8_t borfi_bits;                   // 32
    uint8_t borfi_unused_33[3];           // 33
    uint32_t borfi_u32_36;                // 36
    uint8_t borfi_u8_40;                  // 40
    uint16_t borfi_u16_41;                // 41 0xFFFF, the same in either order
    uint8_t borfi_zero_43[2];             // 43
    uint8_t borfi_u8_45;                  // 45 1
    uint8_t borfi_unused_46[2];           // 46
    in6_addr_t borfi_prefix;              // 48
    ip_rib_attr_set_array_td borfi_attrs; // 64, the entries follow at 68
    using net = rib_net_t<&bori_fixed::borfi_path_count, &bori_fixed::borfi_u16_6, &bori_fixed::borfi_flags,
                          &bori_fixed::borfi_u32_12, &bori_fixed::borfi_u32_16, &bori_fixed::borfi_u32_20,
                          &bori_fixed::borfi_flags64, &bori_fixed::borfi_u32_36, &bori_fixed::borfi_attrs>;
};
static_assert(sizeof(bori_fixed) == 68 && offsetof(bori_fixed, borfi_prefix) == 48);
/* A route takes this and its attribute entries. */
constexpr size_t RIB_BATCH_ROUTE_FIXED = 336;

struct RIB_PACKED rib_batch_add_path_in {
    uint8_t bapi_type;                   //   0 RIB_BATCH_REC_ADD_PATH
    uint8_t bapi_unused_1;               //   1
    uint8_t bapi_label_count;            //   2
    uint8_t bapi_zero_3;                 //   3
    uint32_t bapi_u32_4;                 //   4
    uint64_t bapi_u64_8;                 //   8
    uint16_t bapi_u16_16;                //  16
    uint16_t bapi_u16_18;                //  18
    uint32_t bapi_u32_20;                //  20
    uint32_t bapi_u32_24;                //  24
    uint32_t bapi_labels[3];             //  28
    uint32_t bapi_binding_label;         //  40
    uint32_t bapi_u32_44;                //  44
    uint8_t bapi_unused_48[32];          //  48
    uint32_t bapi_bitmap_head[2];        //  80 bapi_bitmap: its first two words
    uint8_t bapi_bitmap_bits[64];        //  88 and its bits
    uint32_t bapi_u32_152;               // 152
    uint8_t bapi_unused_156[4];          // 156
    in6_addr_t bapi_nexthop;             // 160
    uint32_t bapi_u32_176;               // 176
    uint8_t bapi_unused_180[4];          // 180
    uint8_t bapi_infosource[16];         // 184
    uint32_t bapi_u32_200;               // 200
    uint8_t bapi_unused_204[4];          // 204
    uint8_t bapi_zero_208[16];           // 208
    uint8_t bapi_infosource_afi;         // 224
    uint8_t bapi_unused_225[3];          // 225
    uint32_t bapi_ext_mask;              // 228
    uint32_t bapi_label_stack[10];       // 232
    ip_rib_attr_set_array_td bapi_attrs; // 272, the entries follow at 276
    using net =
        rib_net_t<&rib_batch_add_path_in::bapi_u32_4, &rib_batch_add_path_in::bapi_u64_8, &rib_batch_add_path_in::bapi_u16_16,
                  &rib_batch_add_path_in::bapi_u16_18, &rib_batch_add_path_in::bapi_u32_20, &rib_batch_add_path_in::bapi_u32_24,
                  &rib_batch_add_path_in::bapi_labels, &rib_batch_add_path_in::bapi_binding_label,
                  &rib_batch_add_path_in::bapi_u32_44, &rib_batch_add_path_in::bapi_bitmap_head,
                  &rib_batch_add_path_in::bapi_u32_152, &rib_batch_add_path_in::bapi_u32_176,
                  &rib_batch_add_path_in::bapi_u32_200, &rib_batch_add_path_in::bapi_ext_mask,
                  &rib_batch_add_path_in::bapi_label_stack, &rib_batch_add_path_in::bapi_attrs>;
};
static_assert(sizeof(rib_batch_add_path_in) == 276 && offsetof(rib_batch_add_path_in, bapi_nexthop) == 160);
static_assert(offsetof(rib_batch_add_path_in, bapi_ext_mask) == 228 && offsetof(rib_batch_add_path_in, bapi_bitmap_head) == 80);

struct RIB_PACKED rib_batch_del_path_in {
    uint8_t bdpi_type;                   //   0 RIB_BATCH_REC_DEL_PATH
    uint8_t bdpi_zero_1;                 //   1
    uint8_t bdpi_u8_2;                   //   2
    uint8_t bdpi_unused_3[37];           //   3
    uint8_t bdpi_bitmap[72];             //  40
    uint32_t bdpi_u32_112;               // 112
    uint8_t bdpi_unused_116[4];          // 116
    in6_addr_t bdpi_nexthop;             // 120
    uint32_t bdpi_u32_136;               // 136
    uint8_t bdpi_unused_140[20];         // 140
    uint32_t bdpi_u32_160;               // 160
    uint8_t bdpi_unused_164[72];         // 164
    uint32_t bdpi_u32_236;               // 236
    ip_rib_attr_set_array_td bdpi_attrs; // 240, the entries follow at 244
    using net =
        rib_net_t<&rib_batch_del_path_in::bdpi_u32_112, &rib_batch_del_path_in::bdpi_u32_136,
                  &rib_batch_del_path_in::bdpi_u32_160, &rib_batch_del_path_in::bdpi_u32_236, &rib_batch_del_path_in::bdpi_attrs>;
};
static_assert(sizeof(rib_batch_del_path_in) == 244 && offsetof(rib_batch_del_path_in, bdpi_nexthop) == 120);
static_assert(offsetof(rib_batch_del_path_in, bdpi_u32_236) == 236 && offsetof(rib_batch_del_path_in, bdpi_u32_160) == 160);
/* A path of either kind takes this, its attribute entries and, when added, its trailing blocks. */
constexpr size_t RIB_BATCH_PATH_FIXED = 280;

/* Trailing blocks behind an added path: one of 24 bytes for the lowest bit of bapi_ext_mask, one of 8 for each of five more. */
constexpr size_t rib_batch_trailing_size(uint32_t ext_mask)
{
    return ext_mask == 0 ? 0 : (ext_mask & 0x01 ? 24u : 0u) + 8u * static_cast<size_t>(__builtin_popcount(ext_mask & 0x3E));
}
