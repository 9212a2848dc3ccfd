/*
 * Attributes of routes and paths: entries back to back behind an array header, at most one of each type.
 */
#pragma once

#include "ip/rib/wire/batch_records.h"

enum rib_attr_type_t : uint8_t {
    RIB_ATTR_ITEMS_8_A = 1,
    RIB_ATTR_ITEMS_8_B = 2,
    RIB_ATTR_WORD_3 = 3,
    RIB_ATTR_ITEMS_32 = 4,
    RIB_ATTR_40 = 5,
    RIB_ATTR_16 = 6,
    RIB_ATTR_24_A = 7,
    RIB_ATTR_WORD_9 = 9,
    RIB_ATTR_24_B = 10,
    RIB_ATTR_24_C = 11,
    RIB_ATTR_8 = 12,
    RIB_ATTR_ITEMS_12 = 13,
    RIB_ATTR_256 = 14,
    RIB_ATTR_168 = 15,
    RIB_ATTR_1 = 16,
    RIB_ATTR_WORD_17 = 17,
    RIB_ATTR_24_D = 18,
};

/* Longest value of the attributes whose length a count decides, in items. */
constexpr unsigned RIB_ATTR_ITEMS_8_MAX = 8;

/*
 * Appends a value to an array that is in host order; the caller has seen to the room. 1 when it was added, or there is
 * nothing to add (no value, or a count of 0); 0 when the array holds this type or the type is unknown. The array is
 * required (fatal assertion).
 */
int rib_copy_var_attr_set(ip_rib_attr_set_array_td *attr_set_array, rib_attr_type_t type, const char *value);
