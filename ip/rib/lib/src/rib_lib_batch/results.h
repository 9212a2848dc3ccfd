/*
 * The walk over a batch reply. Results are converted in place as they are handed out; one that the reply does not hold
 * whole ends the walk.
 */
#pragma once

#include "ip/rib/wire/batch_results.h"

void *rib_batch_args_out_first_route(void *reply);
void *rib_batch_args_out_next_route(void *reply, void *record);
void *rib_batch_args_out_next_table(void *reply, void *table);
void *rib_batch_tbl_out_next_route(void *reply, void *table, void *route);
void *rib_batch_route_out_first_path(void *route);
void *rib_batch_route_out_next_path(void *route, void *path);
