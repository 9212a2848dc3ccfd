/*
 * Attributes of the open path that have a place in its record or behind it.
 */
#include <platform/lbitmap.h>

#include "../rib_fatal.h"
#include "attributes.h"
#include "path.h"

static rib_batch_add_path_in *open_add_path(rib_batch_buffer *buffer)
{
    return reinterpret_cast<rib_batch_add_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_ADD_PATH));
}
static rib_batch_del_path_in *open_del_path(rib_batch_buffer *buffer)
{
    return reinterpret_cast<rib_batch_del_path_in *>(rib_batch_open_path(buffer, RIB_BATCH_REC_DEL_PATH));
}

rib_batch_buffer_result rib_batch_buffer_path_set_binding_label(rib_batch_buffer *buffer, uint32_t label)
{
    rib_batch_add_path_in *path = open_add_path(buffer);
    if (!path || path->bapi_ext_mask != 0)
        return RIB_BATCH_BUFFER_ERROR;
    path->bapi_binding_label = label;
    return RIB_BATCH_BUFFER_OK;
}

/* Labels behind the given ones are zero. */
template <size_t room> static void set_labels(uint8_t *stack, const uint32_t *labels, size_t count)
{
    std::memset(stack, 0, room * sizeof *labels);
    std::memcpy(stack, labels, count * sizeof *labels);
}

rib_batch_buffer_result rib_batch_buffer_path_set_remote_label_stack(rib_batch_buffer *buffer, uint32_t num_labels,
                                                                     const uint32_t *labels)
{
    rib_fatal_unless(buffer, "buffer != ((void*)0)");
    rib_fatal_unless(num_labels && num_labels <= 10, "num_labels && num_labels <= 10");
    if (!rib_batch_has_route(buffer))
        return RIB_BATCH_BUFFER_OK;
    rib_batch_add_path_in *path = open_add_path(buffer);
    if (!path || !labels)
        return RIB_BATCH_BUFFER_ERROR;
    path->bapi_label_count = static_cast<uint8_t>(num_labels);
    if (num_labels <= 3)
        set_labels<3>(reinterpret_cast<uint8_t *>(path) + offsetof(rib_batch_add_path_in, bapi_labels), labels, num_labels);
    else
        set_labels<10>(reinterpret_cast<uint8_t *>(path) + offsetof(rib_batch_add_path_in, bapi_label_stack), labels, num_labels);
    return RIB_BATCH_BUFFER_OK;
}

rib_batch_buffer_result rib_batch_buffer_path_set_reflect(rib_batch_buffer *buffer, uint32_t value)
{
    rib_batch_del_path_in *path = open_del_path(buffer);
    if (!path)
        return RIB_BATCH_BUFFER_ERROR;
    path->bdpi_u32_236 = value;
    return RIB_BATCH_BUFFER_OK;
}

rib_batch_buffer_result rib_batch_buffer_backup_delete_protected_bitmap(rib_batch_buffer *buffer, uint64_t bitmap)
{
    rib_fatal_unless(bitmap, "bitmap");
    rib_batch_del_path_in *path = open_del_path(buffer);
    if (!path)
        return RIB_BATCH_BUFFER_ERROR;
    lbitmap_init(path->bdpi_bitmap, 512);
    for (uint32_t bit = 0; bit < 64; bit++)
        if (bitmap >> bit & 1)
            lbitmap_set(path->bdpi_bitmap, bit);
    path->bdpi_zero_1 = 0;
    return RIB_BATCH_BUFFER_OK;
}

rib_batch_buffer_result rib_batch_buffer_path_set_trailing(rib_batch_buffer *buffer, rib_trailing_block block, const void *value)
{
    rib_batch_add_path_in *path = open_add_path(buffer);
    if (!path || !value || path->bapi_ext_mask >= block)
        return RIB_BATCH_BUFFER_ERROR;
    const size_t at = RIB_BATCH_PATH_FIXED + path->bapi_attrs.asa_len + rib_batch_trailing_size(path->bapi_ext_mask);
    const size_t size = rib_batch_trailing_size(block);
    if (!rib_batch_has_room(buffer, at + size))
        return RIB_BATCH_BUFFER_ERROR;
    std::memcpy(reinterpret_cast<uint8_t *>(path) + at, value, size);
    path->bapi_ext_mask |= block;
    return RIB_BATCH_BUFFER_OK;
}
