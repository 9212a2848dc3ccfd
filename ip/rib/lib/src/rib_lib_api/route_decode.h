/*
 * Route records as received, turned into records of the interface in place: fields are converted where they lie, paths
 * move down to their slots, attributes are referred to.
 *
 * The walks take no end: the framing of received bytes is checked before, by rib_route_fits() or by the parser of updates.
 */
#pragma once

#include <platform/rib_tlv.h>

#include "ip/rib/wire/route_record.h"

/*
 * Checks one route as received, without changing it: the route record, its paths with their lists, its attributes, and
 * what the attributes claim to hold. Returns the byte behind its delimiter, or NULL.
 */
const uint8_t *rib_route_fits(const uint8_t *begin, const uint8_t *end);

/* Whether an attribute as received holds the entries that it claims. */
bool rib_route_attribute_fits(uint16_t type, const uint8_t *value, size_t length);

/*
 * Takes the attributes of the route whose record is tlv, sets the record's attribute pointers, and moves the cursor, which
 * stands behind the record, behind the route. Its fixed fields stay in network order. NULL, and a message, when tlv is no
 * whole route record. An attribute that claims more than it holds is left out, and a message tells.
 */
rib_routetype *rib_client_parse_route(rib_tlv_t *tlv, uint8_t **cursor);
/* Takes the route at the cursor, as received. NULL, with the cursor where it was, as above, at a delimiter, and for a NULL
 * cursor. */
rib_routetype *rib_client_next_route(uint8_t **cursor);

/*
 * Converts a parsed record and moves its paths into their slots, in the form of update fetches: of a path the bytes 12 to
 * 15, 72 to 75 and 82 to 87 are left out, and its word at 80 is cleared. The paths end at a record that is no path: the
 * path count is set to those before it, and a message tells.
 */
void rib_strip_tlv_from_path(rib_routetype *route);
