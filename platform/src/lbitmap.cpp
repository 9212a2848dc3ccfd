/*
 * Long bitmaps. They stand inside packed records, so the number of bits moves through a local copy.
 */
#include <platform/lbitmap.h>

#include <cstddef>
#include <cstring>

constexpr size_t lbitmap_header = 8;

static uint32_t bits_of(const void *bitmap)
{
    uint32_t bits;
    memcpy(&bits, bitmap, sizeof bits);
    return bits;
}

/* In 64 bits, so that no number of bits wraps. */
static size_t bytes_behind_header(uint32_t bits)
{
    return (size_t{bits} + 31) / 32 * 4;
}

void lbitmap_init(void *bitmap, uint32_t bits)
{
    memset(bitmap, 0, lbitmap_header + bytes_behind_header(bits));
    memcpy(bitmap, &bits, sizeof bits);
}

void lbitmap_set(void *bitmap, uint32_t bit)
{
    if (bit >= bits_of(bitmap))
        return;
    uint8_t *byte = static_cast<uint8_t *>(bitmap) + lbitmap_header + bit / 8;
    *byte = static_cast<uint8_t>(*byte | 1u << bit % 8);
}

int lbitmap_is_empty(const void *bitmap)
{
    const uint8_t *byte = static_cast<const uint8_t *>(bitmap) + lbitmap_header;
    const uint8_t *end = byte + bytes_behind_header(bits_of(bitmap));
    while (byte != end)
        if (*byte++ != 0)
            return 0;
    return 1;
}
