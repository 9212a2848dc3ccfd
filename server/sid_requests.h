/*
 * Requests for SRv6 SIDs and IIDs, which come as attributes of routes. What is given out is a route of the protocol in a table
 * of its own, and ends with that route, however it ends.
 */
#pragma once

#include "server/attributes.h"
#include "server/batch_apply.h"

/* Tables whose routes come and go with requests, and in no other way. */
inline bool rib_is_request_table(rib_tableid_td table)
{
    return table == IPV6_RIB_TABLE_SID || table == IPV6_RIB_TABLE_IID;
}

inline bool rib_has_request(const rib_attr_set &attrs)
{
    return attrs.has(RIB_ATTR_SID_REQUEST) || attrs.has(RIB_ATTR_IID_REQUEST);
}

/* Carries out the request of a route record of the run's protocol; returns its RIB result and fills in the answer. */
int32_t rib_carry_out_request(rib_batch_run &run, const rib_attr_set &attrs, rib_batch_request_answer *answer);
