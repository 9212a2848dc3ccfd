/*
 * Appending attributes.
 */
#include "rib_lib_utils.h"

#include "rib_fatal.h"

/* Where the caller's arrays have what travels. */
struct item_source {
    uint16_t head;     /* bytes ahead of the caller's first item */
    uint16_t item;     /* from one of the caller's items to the next */
    uint16_t skipped;  /* bytes of the caller's item ahead of what is sent */
    uint8_t head_sent; /* which of the caller's first 8 bytes are sent, a bit each; the rest of the head is zero */
};
static constexpr item_source source_of(rib_attr_type_t type)
{
    switch (type) {
    case RIB_ATTR_ECOMMS:
        return {4, 8, 0, 0x0F};
    case RIB_ATTR_NNH:
        return {4, 8, 0, 0x03};
    case RIB_ATTR_ALGO_LABELS:
        return {4, 12, 0, 0x0C};
    default: // SID list
        return {8, 48, 8, 0xF1};
    }
}

static void copy_items(uint8_t *to, const char *value, const rib_attr_shape &shape, const item_source &source)
{
    std::memset(to, 0, shape.head);
    for (unsigned i = 0; i < source.head; i++)
        if (source.head_sent >> i & 1)
            to[i] = static_cast<uint8_t>(value[i]);
    uint8_t *at = to + shape.head;
    const char *item = value + source.head + source.skipped;
    for (unsigned left = shape.count(value); left != 0; left--, at += shape.item, item += source.item)
        std::memcpy(at, item, shape.item);
}

uint16_t rib_attr_value_len(rib_attr_type_t type, const char *value)
{
    if (!value)
        return 0;
    const rib_attr_shape &shape = rib_attr_shapes[type];
    const unsigned count = shape.count(value);
    if (shape.item != 0 && count == 0 && type != RIB_ATTR_ALGO_LABELS)
        return 0;
    return static_cast<uint16_t>(shape.head + count * shape.item);
}

static bool is_known(rib_attr_type_t type)
{
    return type < RIB_ATTR_TYPES && rib_attr_shapes[type].head != 0;
}

int rib_copy_var_attr_set(ip_rib_attr_set_array_td *attr_set_array, rib_attr_type_t type, const char *value)
{
    rib_fatal_unless(attr_set_array, "attr_set_array != ((void*)0)");
    if (!value)
        return 1;
    for (const auto *held = rib_attr_first(attr_set_array); held; held = rib_attr_next(attr_set_array, held))
        if (held->ae_type == type)
            return 0;
    if (!is_known(type))
        return 0;
    const uint16_t len = rib_attr_value_len(type, value);
    if (len == 0)
        return 1;
    auto *entry =
        reinterpret_cast<rib_attr_entry_td *>(reinterpret_cast<uint8_t *>(attr_set_array + 1) + attr_set_array->asa_len);
    *entry = {.ae_type = type, .ae_len = len};
    const rib_attr_shape &shape = rib_attr_shapes[type];
    if (shape.item != 0)
        copy_items(reinterpret_cast<uint8_t *>(entry + 1), value, shape, source_of(type));
    else
        std::memcpy(entry + 1, value, len);
    attr_set_array->asa_len = static_cast<uint16_t>(attr_set_array->asa_len + sizeof *entry + len);
    return 1;
}
