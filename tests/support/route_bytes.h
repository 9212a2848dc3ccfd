/*
 * Routes as the server sends them: a route record, its paths and its attributes, every field with its own value.
 */
#pragma once

#include "tests/support/hex.h"

/* The fixed part of a route; the places of the pointers arrive with anything. */
inline bytes_t fixed_part(size_t paths)
{
    bytes_t route =
        hex("40 41 42 00 43 44 0102 0304 0506 45464748 @16 20010db8 00050006 00*8 @32 e0800001 11121314 1516 4950 @44 "
            "21222324 25262728 292a2b2c 2d2e2f30 @60 31323334 51*8 @72 77*56");
    route[3] = static_cast<uint8_t>(paths);
    return route;
}
/* Path number n. */
inline bytes_t path_value(size_t n)
{
    bytes_t path = hex("61626364 65666768 696a6b6c 11*4 @16 fe800000 00*11 a1 @32 fe800000 00*11 b2 @48 71727374 75767778"
                       "22*12 @68 81828384 85868788 02 01 03 00 @80 9192 9394 33*4");
    path[31] = static_cast<uint8_t>(n);
    return path;
}
inline bytes_t path(size_t n, const bytes_t &attributes = {})
{
    return tlv(4, path_value(n)) + attributes + DELIMITER;
}

/* Route attributes of every type, with a count of one or two. */
inline bytes_t all_attributes()
{
    return tlv(6, hex("0a0b 0002 aa*24 01020304 bb*24 05060708")) + tlv(7, hex("02000000 0700 0900")) +
           tlv(8, hex("0808 0001 88")) + tlv(9, hex("0909 0001 99")) + tlv(10, hex("1010 0001 a0")) +
           tlv(11, hex("1111 0001 b1")) + tlv(15, hex("1515 0001 f5"));
}

/* A route with what stands behind its record: as many paths as it claims, or not. */
inline bytes_t route_of(size_t paths, const bytes_t &lists)
{
    return tlv(3, fixed_part(paths)) + lists + DELIMITER;
}
inline bytes_t full_route()
{
    return route_of(2, path(1, tlv(12, hex("c1c2c3")) + tlv(109, hex("d1"))) + path(2) + all_attributes());
}
