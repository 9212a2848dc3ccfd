/*
 * Empty records as they stand in the buffer, up to the end of their fixed bytes. A record that is written in one call
 * begins as a copy of a closed image, whose numbers are in network order, and only the caller's numbers are converted;
 * one that is written in three steps begins open, in host order, and is converted when it is finished.
 */
#pragma once

#include "buffer.h"

template <class record, size_t bytes> struct RIB_PACKED rib_batch_image {
    record rec;
    uint8_t zero[bytes - sizeof(record)];
};

struct rib_batch_images {
    rib_batch_image<bori_fixed, RIB_BATCH_ROUTE_FIXED> open_route, closed_route;
    rib_batch_image<rib_batch_add_path_in, RIB_BATCH_PATH_FIXED> open_add_path, closed_add_path;
    rib_batch_image<rib_batch_del_path_in, RIB_BATCH_PATH_FIXED> open_del_path, closed_del_path;
};
extern rib_batch_images rib_batch_image_of;

/* Makes the images; every allocation of a buffer sees to it. */
void rib_batch_prepare_images();

template <class record, size_t bytes> record *rib_batch_copy_image(uint8_t *to, const rib_batch_image<record, bytes> &image)
{
    std::memcpy(to, &image, sizeof image);
    return reinterpret_cast<record *>(to);
}
