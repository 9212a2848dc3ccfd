/*
 * Identifiers of the tables that every router has.
 */
#ifndef PLATFORM_TABLE_IDS_H
#define PLATFORM_TABLE_IDS_H

#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

PLATFORM_API extern const uint32_t rsi_c_tbl_id_ipv4_ucast_dflt; /* 0xE0000000 */
PLATFORM_API extern const uint32_t rsi_c_tbl_id_ipv6_ucast_dflt; /* 0xE0800000 */

PLATFORM_END

#endif
