/*
 * Appending attributes.
 */
#include "rib_lib_utils.h"

#include "rib_fatal.h"

/* Values of one length; 0 where a count decides, or for an unknown type. */
static constexpr uint16_t fixed_lengths[] = {0, 0, 0, 4, 0, 40, 16, 24, 0, 4, 24, 24, 8, 0, 256, 168, 1, 4, 24};

/* How the caller's arrays are laid out and travel: a head, then items of which a part is sent. */
struct item_layout {
    uint16_t head;        /* bytes of the head as sent */
    uint16_t item;        /* bytes of an item as sent */
    uint16_t caller_head; /* bytes ahead of the caller's first item */
    uint16_t caller_item; /* from one of the caller's items to the next */
    uint16_t skipped;     /* bytes of the caller's item ahead of what is sent */
    uint8_t head_sent;    /* which of the caller's first 8 bytes are sent, a bit each; the rest of the head is zero */
};
static constexpr item_layout items_8_a = {4, 8, 4, 8, 0, 0x0F};
static constexpr item_layout items_8_b = {4, 8, 4, 8, 0, 0x03};
static constexpr item_layout items_12 = {4, 12, 4, 12, 0, 0x0C};
static constexpr item_layout items_32 = {16, 32, 8, 48, 8, 0xF1};

/* Writes head and items behind one another; the value's length. */
static uint16_t copy_items(uint8_t *to, const char *value, unsigned count, const item_layout &layout)
{
    std::memset(to, 0, layout.head);
    for (unsigned i = 0; i < layout.caller_head; i++)
        if (layout.head_sent >> i & 1)
            to[i] = static_cast<uint8_t>(value[i]);
    uint8_t *at = to + layout.head;
    const char *item = value + layout.caller_head + layout.skipped;
    for (unsigned i = 0; i < count; i++, at += layout.item, item += layout.caller_item)
        std::memcpy(at, item, layout.item);
    return static_cast<uint16_t>(at - to);
}

/* Writes a value; its length, or 0 when there is nothing to add. */
static uint16_t copy_value(uint8_t *to, rib_attr_type_t type, const char *value)
{
    switch (type) {
    case RIB_ATTR_ITEMS_8_A:
    case RIB_ATTR_ITEMS_8_B: {
        const auto count = rib_load<uint16_t>(value);
        return count ? copy_items(to, value, count, type == RIB_ATTR_ITEMS_8_A ? items_8_a : items_8_b) : 0;
    }
    case RIB_ATTR_ITEMS_32: {
        const auto count = rib_load<uint8_t>(value);
        return count ? copy_items(to, value, count, items_32) : 0;
    }
    case RIB_ATTR_ITEMS_12:
        return copy_items(to, value, rib_load<uint16_t>(value + 2), items_12);
    default:
        std::memcpy(to, value, fixed_lengths[type]);
        return fixed_lengths[type];
    }
}

static bool is_known(rib_attr_type_t type)
{
    return type >= RIB_ATTR_ITEMS_8_A && type <= RIB_ATTR_24_D && type != 8;
}

int rib_copy_var_attr_set(ip_rib_attr_set_array_td *attr_set_array, rib_attr_type_t type, const char *value)
{
    rib_fatal_unless(attr_set_array, "attr_set_array != ((void*)0)");
    if (!value)
        return 1;
    auto *entry = reinterpret_cast<uint8_t *>(attr_set_array + 1);
    uint8_t *const end = entry + attr_set_array->asa_len;
    while (entry < end) {
        const auto *held = reinterpret_cast<const rib_attr_entry_td *>(entry);
        if (held->ae_type == type)
            return 0;
        entry += sizeof *held + held->ae_len;
    }
    if (!is_known(type))
        return 0;
    const uint16_t len = copy_value(end + sizeof(rib_attr_entry_td), type, value);
    if (len == 0)
        return 1;
    *reinterpret_cast<rib_attr_entry_td *>(end) = {.ae_type = type, .ae_len = len};
    attr_set_array->asa_len = static_cast<uint16_t>(attr_set_array->asa_len + sizeof(rib_attr_entry_td) + len);
    return 1;
}
