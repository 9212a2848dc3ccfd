/*
 * Appending attributes.
 */
#include "rib_lib_utils.h"

#include <platform/srv6.h>

#include "rib_fatal.h"

/* A SID list of the caller has more about each SID than travels. */
static void copy_sid_list(uint8_t *to, const char *value)
{
    constexpr size_t function = offsetof(srv6_sid_list_t, sl_func);
    constexpr rib_attr_shape sent = rib_attr_shapes[RIB_ATTR_SID_LIST];
    std::memset(to, 0, sent.head);
    std::memcpy(to, value, sent.count_size);
    std::memcpy(to + function, value + function, sizeof(srv6_transit_func_type));
    const char *from = value + offsetof(srv6_sid_list_t, sl_sid) + offsetof(srv6_sid_info_t, si_func);
    to += sent.head;
    for (unsigned left = sent.count(value); left != 0; left--, to += sent.item, from += sizeof(srv6_sid_info_t))
        std::memcpy(to, from, sent.item);
}

/* All other values travel as they stand, with nothing in the unused bytes of their heads. */
static void copy_value(uint8_t *to, rib_attr_type_t type, const char *value, size_t len)
{
    if (type == RIB_ATTR_SID_LIST)
        return copy_sid_list(to, value);
    std::memcpy(to, value, len);
    if (type == RIB_ATTR_NNH)
        rib_store(to + 2, uint16_t{0});
    else if (type == RIB_ATTR_ALGO_LABELS)
        rib_store(to, uint16_t{0});
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
    copy_value(reinterpret_cast<uint8_t *>(entry + 1), type, value, len);
    attr_set_array->asa_len = static_cast<uint16_t>(attr_set_array->asa_len + sizeof *entry + len);
    return 1;
}
