/*
 * Attributes of routes and paths: entries back to back behind an array header, at most one of each type.
 */
#pragma once

#include "ip/rib/wire/attributes.h"

/* Bytes of a value as it is appended; 0 when there is nothing to add (no value, or none of the items that it is made of). The
 * type is one that exists. */
uint16_t rib_attr_value_len(rib_attr_type_t type, const char *value);

/*
 * Appends a value to an array that is in host order; the caller has seen to the room. 1 when it was added, or there is
 * nothing to add; 0 when the array holds this type or the type is unknown. The array is required (fatal assertion).
 */
int rib_copy_var_attr_set(ip_rib_attr_set_array_td *attr_set_array, rib_attr_type_t type, const char *value);

/* The first entry of an array, and the one behind it; NULL at the end. */
inline const rib_attr_entry_td *rib_attr_entry_at(const ip_rib_attr_set_array_td *array, const uint8_t *at)
{
    const auto *begin = reinterpret_cast<const uint8_t *>(array + 1);
    return at < begin + array->asa_len ? reinterpret_cast<const rib_attr_entry_td *>(at) : nullptr;
}
inline const rib_attr_entry_td *rib_attr_first(const ip_rib_attr_set_array_td *array)
{
    return rib_attr_entry_at(array, reinterpret_cast<const uint8_t *>(array + 1));
}
inline const rib_attr_entry_td *rib_attr_next(const ip_rib_attr_set_array_td *array, const rib_attr_entry_td *entry)
{
    return rib_attr_entry_at(array, reinterpret_cast<const uint8_t *>(entry + 1) + entry->ae_len);
}
