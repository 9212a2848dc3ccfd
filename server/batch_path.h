/*
 * Paths of a batch: from the record to the path that is kept, and the list of paths that a route record makes.
 */
#pragma once

#include "server/batch_apply.h"

/* What the paths of one route record do to a list of paths. */
struct rib_path_work {
    rib_path_list &paths;        /* is changed */
    const rib_path_list *before; /* when the paths replace all that the route has: what it had */
    uint32_t epoch;              /* of the protocol */
    bool route_is_backup;        /* the route record says that none of its paths is a primary one */
    int32_t first_refusal = 0;   /* RIB result of the first path that was refused */
    unsigned refused = 0;
    unsigned added = 0; /* paths that were added, changed or confirmed */
    bool changed = false;
};

/* Applies one path record and writes its result; returns the byte behind it. */
const uint8_t *rib_batch_apply_path(rib_batch_run &run, rib_path_work &work, const uint8_t *record);
/* Answers one path record with a RIB result and does nothing else; returns the byte behind it. */
const uint8_t *rib_batch_answer_path(rib_batch_run &run, const uint8_t *record, int32_t result);
