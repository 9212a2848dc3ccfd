/*
 * Making the images. The bitmaps in them are the platform's, so they cannot be constants.
 */
#include "images.h"

#include <pthread.h>

#include <platform/lbitmap.h>

constexpr uint32_t path_bitmap_bits = 512;

rib_batch_images rib_batch_image_of;

static void make_routes(rib_batch_images *images)
{
    bori_fixed *route = &images->open_route.rec;
    route->borfi_type = RIB_BATCH_REC_ROUTE;
    route->borfi_code = RIB_ROUTE_CODE;
    route->borfi_u32_20 = RIB_LABEL_NONE;
    route->borfi_flags64 = RIB_ROUTE_NO_PRIMARY64;
    route->borfi_u16_41 = 0xFFFF;
    route->borfi_u8_45 = 1;
    images->closed_route = images->open_route;
    images->closed_route.rec.borfi_flags = RIB_ROUTE_NO_PRIMARY;
    rib_to_net(&images->closed_route.rec);
}

static void make_paths(rib_batch_images *images)
{
    rib_batch_add_path_in *add = &images->open_add_path.rec, *closed_add = &images->closed_add_path.rec;
    add->bapi_type = RIB_BATCH_REC_ADD_PATH;
    add->bapi_binding_label = RIB_LABEL_NONE;
    *closed_add = *add; // its label is the caller's
    for (size_t i = 0; i < 3; i++)
        add->bapi_labels[i] = RIB_LABEL_NONE;
    lbitmap_init(closed_add->bapi_bitmap_head, path_bitmap_bits);
    rib_to_net(closed_add);
    rib_batch_del_path_in *del = &images->open_del_path.rec;
    del->bdpi_type = RIB_BATCH_REC_DEL_PATH;
    lbitmap_init(del->bdpi_bitmap, path_bitmap_bits);
    images->closed_del_path = images->open_del_path;
    rib_to_net(&images->closed_del_path.rec);
}

void rib_batch_prepare_images()
{
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, [] {
        make_routes(&rib_batch_image_of);
        make_paths(&rib_batch_image_of);
    });
}
