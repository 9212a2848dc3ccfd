/*
 * Attribute entries of a route or a path: whether they are in order, and what is kept of them.
 *
 * Kept entries stand in the order of their types and have zero unused bytes, so that the same attributes are the same bytes.
 */
#pragma once

#include <array>
#include <vector>

#include "ip/rib/wire/attributes.h"

/* Where the value of each type stands. It points into the entries. */
class rib_attr_set
{
public:
    /* Entries that fill len bytes. Of several of one type the last one counts. */
    rib_attr_set(const uint8_t *entries, size_t len);

    bool has(uint8_t type) const { return values_[type] != nullptr; }
    /* NULL when there is none. */
    const uint8_t *value(uint8_t type) const { return values_[type]; }
    uint16_t len(uint8_t type) const;

private:
    std::array<const uint8_t *, RIB_ATTR_TYPES> values_ = {};
};

enum class rib_attr_owner { path, route };
/* Whether entries that fill len bytes may be those of a path, or of a route. What requests ask for is not looked at. */
bool rib_attrs_valid(const uint8_t *entries, size_t len, rib_attr_owner owner);
/* Valid entries as they are kept: without requests, which are no part of a route. */
std::vector<uint8_t> rib_attrs_kept(const uint8_t *entries, size_t len);
/* Adds an entry behind those that are there. */
void rib_attr_append(std::vector<uint8_t> &entries, rib_attr_type_t type, const void *value, size_t len);
