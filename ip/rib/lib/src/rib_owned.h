/*
 * Heap blocks that free themselves.
 */
#pragma once

#include <cstdlib>
#include <memory>

struct rib_free_t {
    void operator()(void *block) const { std::free(block); }
};
template <class record> using rib_owned_t = std::unique_ptr<record, rib_free_t>;

/* A zeroed block of room bytes that begins with a record; NULL without memory. */
template <class record> rib_owned_t<record> rib_calloc(size_t room)
{
    return rib_owned_t<record>(static_cast<record *>(std::calloc(1, room)));
}
