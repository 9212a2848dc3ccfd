/*
 * Identifiers of the tables that every router has.
 */
#include <platform/table_ids.h>

const uint32_t rsi_c_tbl_id_ipv4_ucast_dflt = 0xE0000000;
const uint32_t rsi_c_tbl_id_ipv6_ucast_dflt = 0xE0800000;
