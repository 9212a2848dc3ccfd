/*
 * Requests about addresses and next hops. Each takes its body in host order, fills the fields of its reply and returns the
 * result; docs/wire.md tells what they mean.
 */
#pragma once

#include "ip/rib/wire/address.h"
#include "ip/rib/wire/next_hop.h"
#include "ip/rib/wire/redistribution.h"
#include "server/server.h"

errcode rib_do_next_hop(rib_server &, rib_session &, const rib_next_hop_body_td &, rib_address_reply_td &);
errcode rib_do_connected(rib_server &, rib_session &, const rib_connected_body_td &, rib_address_reply_td &);
errcode rib_do_best_local(rib_server &, rib_session &, const rib_best_local_body_td &, rib_address_reply_td &);
errcode rib_do_default_netsource(rib_server &, rib_session &, const rib_netsource_body_td &, rib_netsource_reply_td &);
errcode rib_do_nh_register(rib_server &, rib_session &, const rib_nh_register_body_td &, rib_nh_register_reply_td &);
errcode rib_do_nh_unregister(rib_server &, rib_session &, const rib_nh_unregister_body_td &, rib_bare_reply_td &);

/* What the first two words of a request about a next hop ask for: 0, or EINVAL. */
errcode rib_read_next_hop_words(uint32_t how, uint32_t min_len, rib_next_hop_words *words);
