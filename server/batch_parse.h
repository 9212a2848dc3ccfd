/*
 * The records of a batch message: how long each is, and whether all of them are whole. A message is checked once, as a
 * whole; afterwards the lengths of its records may be asked for without a bound.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "ip/rib/wire/batch_records.h"

struct rib_batch_shape {
    uint16_t argument = 0;
    size_t reply_len = 0; /* of the whole reply */
    size_t entries = 0;   /* protocol records */
};

/* Checks a message. False: it is malformed, or its reply would be too long. */
bool rib_batch_check(const uint8_t *msg, size_t len, rib_batch_shape *shape);

/* Fields of a checked record. */
inline uint16_t rib_batch_attr_len(const uint8_t *array)
{
    return rib_load_net<uint16_t>(array);
}
/* The entries of an array. */
inline const uint8_t *rib_batch_attrs(const uint8_t *array)
{
    return array + sizeof(ip_rib_attr_set_array_td);
}
inline uint16_t rib_batch_path_count(const uint8_t *route)
{
    return rib_load_net<uint16_t>(route + offsetof(bori_fixed, borfi_path_count));
}
inline uint32_t rib_batch_ext_mask(const uint8_t *path)
{
    return rib_load_net<uint32_t>(path + offsetof(rib_batch_add_path_in, bapi_ext_mask));
}
/* Bytes of a route without its paths, and of a path. */
inline size_t rib_batch_route_len(const uint8_t *route)
{
    return RIB_BATCH_ROUTE_FIXED + rib_batch_attr_len(route + offsetof(bori_fixed, borfi_attrs));
}
inline size_t rib_batch_path_len(const uint8_t *path)
{
    if (path[0] == RIB_BATCH_REC_DEL_PATH)
        return RIB_BATCH_PATH_FIXED + rib_batch_attr_len(path + offsetof(rib_batch_del_path_in, bdpi_attrs));
    return RIB_BATCH_PATH_FIXED + rib_batch_attr_len(path + offsetof(rib_batch_add_path_in, bapi_attrs)) +
           rib_batch_trailing_size(rib_batch_ext_mask(path));
}
/* Bytes of a route with its paths. */
inline size_t rib_batch_whole_route_len(const uint8_t *route)
{
    size_t len = rib_batch_route_len(route);
    for (unsigned left = rib_batch_path_count(route); left != 0; --left)
        len += rib_batch_path_len(route + len);
    return len;
}
