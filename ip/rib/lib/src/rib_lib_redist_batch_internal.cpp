/*
 * Update modes of redistribution batches.
 */
#include "rib_lib_redist_batch_internal.h"

#include <ipv6_rib/redist_batch.h>

#include "rib_fatal.h"

bool ip_rib_is_special_updatemode(uint16_t mode)
{
    return mode == RIB_REDIST_ALL || mode == RIB_REDIST_BEST_FOREIGN || mode == RIB_REDIST_ALL_FOREIGN;
}

void ip_rib_validate_updatemode(uint16_t mode)
{
    rib_fatal_unless(mode == RIB_REDIST_BEST || ip_rib_is_special_updatemode(mode), "invalid update mode");
}

void ip_rib_validate_issu_updatemode(uint16_t mode)
{
    rib_fatal_unless(mode == RIB_REDIST_BEST || mode == RIB_REDIST_BEST_FOREIGN || mode == RIB_REDIST_ALL_FOREIGN,
                     "invalid ISSU update mode");
}
