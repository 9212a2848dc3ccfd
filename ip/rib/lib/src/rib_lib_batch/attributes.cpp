/*
 * Appending attributes to an open record, and ending them.
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
    const size_t end = area.fixed + area.attrs()->asa_len + sizeof(rib_attr_entry_td) + len;
    if (!rib_batch_has_room(buffer, end) || !rib_copy_var_attr_set(area.attrs(), type, bytes))
        return RIB_BATCH_BUFFER_ERROR;
    return RIB_BATCH_BUFFER_OK;
}

size_t rib_batch_end_attrs(const rib_attr_area &area)
{
    const size_t bytes = area.attrs()->asa_len;
    if (bytes == 0)
        return 0;
    uint8_t *const entries_end = reinterpret_cast<uint8_t *>(area.attrs() + 1) + bytes;
    uint8_t *const from = std::max(area.record + area.fixed, entries_end);
    std::memset(from, 0, static_cast<size_t>(area.record + area.fixed + bytes - from));
    return bytes;
}
