/*
 * Long bitmaps as they travel in records: a 32-bit number of bits and a 32-bit zero, then the bits, bit i in byte i / 8,
 * lowest bit first. 512 bits take 72 bytes. The number is in host order; a bitmap may stand at any address.
 */
#ifndef PLATFORM_LBITMAP_H
#define PLATFORM_LBITMAP_H

#include <stdint.h>

#include <platform/platform.h>

PLATFORM_BEGIN

#define LBITMAP_BYTES(bits) (8u + ((bits) + 31u) / 32u * 4u)

/** Makes an empty bitmap of that many bits. */
PLATFORM_API void lbitmap_init(void *bitmap, uint32_t bits);
/** Sets a bit; a bit beyond the bitmap is ignored. */
PLATFORM_API void lbitmap_set(void *bitmap, uint32_t bit);
/** 1 when no bit is set. */
PLATFORM_API int lbitmap_is_empty(const void *bitmap);

PLATFORM_END

#endif
