/*
 * Attributes as they are handed out: as records of a list, behind a path or behind the paths of a route.
 */
#pragma once

#include "server/route.h"

/* Room for the attribute records of a route itself, whichever may stand together. */
constexpr size_t RIB_ROUTE_ATTRS_MAX = 3'137;
/* Bytes that the attribute records of all paths of a route may take, so that the route fits into every reply. */
constexpr size_t RIB_PATH_ATTRS_MAX = 196'608;

/* Bytes that the attribute records take. That of a path is measured when the path is made, and then kept with it. */
uint32_t rib_path_attrs_measure(const rib_path &path);
inline size_t rib_path_attrs_len(const rib_path &path)
{
    return path.extra ? path.extra->records_len : 0;
}
inline size_t rib_path_attrs_len(const rib_path_list &paths)
{
    size_t len = 0;
    for (const rib_path &path : paths)
        len += rib_path_attrs_len(path);
    return len;
}
/* Of a route that has attributes of its own. */
size_t rib_route_attrs_len(const rib_route &route);

/* Write the records of a path that has an extra, of a route that has attributes, without a delimiter; the cursor moves on. */
void rib_write_path_attrs(const rib_path &path, uint8_t **cursor);
void rib_write_route_attrs(const rib_route &route, uint8_t **cursor);
