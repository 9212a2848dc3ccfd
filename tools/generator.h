/*
 * Makes tables with the shape of the real Internet's (shape.h), of any size, the same for the same seed.
 */
#pragma once

#include "route_reader.h"

#include <cstdint>
#include <vector>

constexpr size_t generator_most_routes = 4'000'000;

/* Routes with unique prefixes, in prefix order. Fails the command above generator_most_routes. */
std::vector<route> generate_table(size_t count, uint64_t seed);
