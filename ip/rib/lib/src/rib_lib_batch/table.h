/*
 * Tables of a multi-table buffer.
 */
#pragma once

#include "buffer.h"

/* Opens a table, closing the open one. OK, FULL (no room for a route behind it), or ERROR. */
rib_batch_buffer_result rib_batch_table_init(rib_batch_buffer *buffer, rib_tableid_td table, rib_protoid_td proto);
/* Closes the open table, if any: its record gets its length and is converted. */
void rib_batch_last_table_done(rib_batch_buffer *buffer);
