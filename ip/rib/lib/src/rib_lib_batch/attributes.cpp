/*
 * Appending an attribute to an open record: the one place that knows how much room there is.
 */
#include "attributes.h"

#include <algorithm>

rib_batch_buffer_result rib_batch_append_attr(rib_batch_buffer *buffer, const rib_attr_area &area, rib_attr_type_t type,
                                              const void *value)
{
    const auto *bytes = static_cast<const char *>(value);
    const size_t len = rib_attr_value_len(type, bytes);
    if (len == 0)
        return RIB_BATCH_BUFFER_OK;
    const size_t entry = sizeof(rib_attr_entry_td) + len;
    const size_t end = area.fixed + area.attrs->asa_len;
    if (!rib_batch_has_room(buffer, end + entry) || !rib_copy_var_attr_set(area.attrs, type, bytes))
        return RIB_BATCH_BUFFER_ERROR;
    /* The record has grown; what the entry does not reach of that may be left over from another message. */
    uint8_t *const entries_end = reinterpret_cast<uint8_t *>(area.attrs + 1) + area.attrs->asa_len;
    uint8_t *const from = std::max(area.record + end, entries_end);
    std::memset(from, 0, static_cast<size_t>(area.record + end + entry - from));
    return RIB_BATCH_BUFFER_OK;
}
