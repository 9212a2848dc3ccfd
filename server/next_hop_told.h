/*
 * What clients are told of a next hop: by updates, and in replies to registrations.
 */
#pragma once

#include "ip/rib/wire/next_hop_batch.h"
#include "server/next_hops.h"

struct rib_resolution;
struct rib_server;

/* The way that a resolution found, as of the routes of this moment. */
rib_next_hop_way rib_next_hop_way_of(rib_server &server, const rib_next_hop_key &key, const rib_resolution &found);
/* The record, in host order. */
rib_nh_told_td rib_next_hop_told(const rib_next_hop_key &key, const rib_next_hop_words &words, const rib_next_hop_way &way);
