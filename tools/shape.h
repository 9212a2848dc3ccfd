/*
 * The shape of the real Internet's IPv6 table, in counts of a table of shape_routes routes: how long prefixes are, how
 * deep they nest, in which /12 blocks they lie, and which lengths lie directly in which.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

constexpr uint32_t shape_routes = 279855;

struct length_share {
    uint8_t len;
    uint32_t routes;
};
struct block_share {
    uint16_t block; /* the first 16 bits of the /12 */
    uint32_t routes;
};
/* Routes of child length whose nearest covering route has parent length. Only frequent pairs are listed. */
struct nest_share {
    uint8_t parent, child;
    uint32_t routes;
};

std::span<const length_share> shape_lengths(); /* ascending */
std::span<const uint32_t> shape_depths();      /* routes with 0, 1, 2 ... covering routes */
std::span<const block_share> shape_blocks();
std::span<const nest_share> shape_nests();
