/*
 * How records are declared: packed structs with plain fields, and one list of the numbers that travel in network order.
 * Records stand at any address, so a number moves through a local copy; this compiles to load, bswap, store.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <ipv6_rib/types.h>

#define RIB_PACKED __attribute__((packed))

inline uint16_t rib_swap(uint16_t number)
{
    return __builtin_bswap16(number);
}
inline uint32_t rib_swap(uint32_t number)
{
    return __builtin_bswap32(number);
}
inline uint64_t rib_swap(uint64_t number)
{
    return __builtin_bswap64(number);
}
inline int16_t rib_swap(int16_t number)
{
    return static_cast<int16_t>(__builtin_bswap16(static_cast<uint16_t>(number)));
}
inline int32_t rib_swap(int32_t number)
{
    return static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(number)));
}

template <class field> field rib_load(const void *place)
{
    field value;
    std::memcpy(&value, place, sizeof value);
    return value;
}
template <class field> void rib_store(void *place, field value)
{
    std::memcpy(place, &value, sizeof value);
}
/* A number in network order, read and written where it stands. */
template <class field> field rib_load_net(const void *place)
{
    return rib_swap(rib_load<field>(place));
}
template <class field> void rib_store_net(void *place, field value)
{
    rib_store(place, rib_swap(value));
}

/* A number, an array of numbers, or a record within a record. */
template <class field> void rib_swap_field(void *place)
{
    if constexpr (std::is_class_v<field>) {
        field::net::swap(static_cast<field *>(place));
    } else {
        using number = std::remove_extent_t<field>;
        for (char *at = static_cast<char *>(place), *end = at + sizeof(field); at != end; at += sizeof(number))
            rib_store(at, rib_swap(rib_load<number>(at)));
    }
}
/* The numbers of a record that travel in network byte order, named once beside its fields. */
template <auto... field> struct rib_net_t {
    template <class record> static void swap(record *rec)
    {
        (rib_swap_field<std::remove_reference_t<decltype(rec->*field)>>(&(rec->*field)), ...);
    }
};
template <class record> void rib_to_net(record *rec)
{
    record::net::swap(rec);
}
template <class record> void rib_to_host(record *rec)
{
    record::net::swap(rec);
}

constexpr size_t rib_round_up(size_t size, size_t align)
{
    return (size + align - 1) / align * align;
}
