/*
 * The least that can be done with a reply full of routes.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/* A route with one path as servers tell it: two records and a delimiter. */
constexpr size_t told_route_bytes = 136 + 104 + 8;

/* Moves each record by a header's length, as decoding in place does. */
void move_records(uint8_t *reply, size_t len);
/* And turns the bytes of its dozen numbers. */
void move_and_swap_records(uint8_t *reply, size_t len);
