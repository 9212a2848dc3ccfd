/*
 * Update modes of redistribution batches.
 */
#pragma once

#include <cstdint>

/* Whether a mode is 18, 20 or 21: its registrations have operations of their own and carry the common flags. */
bool ip_rib_is_special_updatemode(uint16_t mode);
/* Fatal assertions "invalid update mode" and "invalid ISSU update mode" unless a batch of the form may have the mode. */
void ip_rib_validate_updatemode(uint16_t mode);
void ip_rib_validate_issu_updatemode(uint16_t mode);
